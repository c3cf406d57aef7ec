// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: values from their texts (DSP0201 5.2.3, VALUE). White space around
// numbers, booleans and datetimes is ignored; strings and char16 keep theirs.
#pragma once

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMValue.hpp"

namespace OpenWBEM::CIMXML {

/// A valid element has a content that the model cannot hold. The message names where, from the
/// outside in, and why.
BLOCXX_DECLARE_EXCEPTION(Content)

/// Throws a ContentException with that reason, which is a part of the thing of that name.
[[noreturn]] void failWithin(const char* what, std::string_view name, std::string_view reason);

/// Runs `action`. What it says of a content, and what the model says of a value, becomes a
/// ContentException with the name of the thing.
template <class Action>
auto within(const char* what, std::string_view name, const Action& action) {
    try {
        return action();
    } catch (const ContentException& e) {
        failWithin(what, name, e.getMessage());
    } catch (const CIMException& e) {
        failWithin(what, name, e.getMessage());
    }
}

/// Throws ContentException for a text that is no value of T: one of the types of simple values.
template <class T>
T fromText(String text);

/// A key value without TYPE: a "numeric" one gets the widest type of its form, as in the text of an
/// object path. Throws ContentException.
CIMValue numberFromText(const String& text);

}  // namespace OpenWBEM::CIMXML
