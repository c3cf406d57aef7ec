// SPDX-License-Identifier: Apache-2.0
//
// The paths of a product's files, all in the daemon's drop-in configuration directory. Only this
// source turns a product name, which is untrusted, into a path.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2::ProductPaths {

using blocxx::String;

/// The drop-in directory below `prefix`, with its final slash.
String configDirectory(const String& prefix);
/// The file that names the users who may connect for the product.
String allowedUsersFile(const String& productName, const String& prefix);
/// The product's configuration snippet.
String configSnippet(const String& productName, const String& prefix);

/// Why a product of that name cannot be registered, or cannot have a snippet, as the end of a
/// sentence such as "has a slash in it"; empty when it can.
String problemOfProduct(const String& productName);
String problemOfSnippet(const String& productName);

/// Whether the name is a single path component. For any other name the paths above are for
/// messages only; nothing may be opened at them.
bool canNameFile(const String& productName);
/// The same for the snippet, which must not be the allowed users file of another product either.
bool canNameSnippet(const String& productName);

}  // namespace KOVNS2::ProductPaths
