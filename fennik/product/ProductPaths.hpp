// SPDX-License-Identifier: Apache-2.0
//
// The files that belong to a product, all in the daemon's drop-in configuration directory. This is
// the only place that turns a product name, which comes from outside, into a path.
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

/// What is wrong with the name of a product that is to be registered, or whose snippet is to be
/// set, as the end of a sentence: "has a slash in it". Empty when nothing is.
String problemOfProduct(const String& productName);
String problemOfSnippet(const String& productName);

/// Whether the product's files lie in the drop-in directory. A name that is no single path
/// component has paths, for messages, but no files: nothing may be opened at them.
bool canNameFile(const String& productName);
/// The same for the snippet alone, which must not be the allowed users file of another product.
bool canNameSnippet(const String& productName);

}  // namespace KOVNS2::ProductPaths
