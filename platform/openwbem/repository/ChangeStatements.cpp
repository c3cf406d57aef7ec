// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/ChangeStatements.hpp"

#include <algorithm>
#include <initializer_list>

namespace OpenWBEM::ChangeStatements {

namespace {

template <class Statements>
const char* findIn(const Statements& statements, std::string_view text) noexcept {
    const auto found = std::find(std::begin(statements), std::end(statements), text);
    return found == std::end(statements) ? nullptr : *found;
}

// The most frequent first.
constexpr std::initializer_list<const char*> OTHERS = {ADD_REFERENCE,       ADD_INSTANCE,
                                                       CHANGE_INSTANCE,     REMOVE_REFERENCES,
                                                       REMOVE_INSTANCE,     ADD_CLASS,
                                                       ADD_CLASS_REFERENCE, REPLACE_CLASS,
                                                       REMOVE_CLASS,        REMOVE_CLASS_REFERENCES,
                                                       PUT_QUALIFIER_TYPE,  REMOVE_QUALIFIER_TYPE,
                                                       ADD_NAMESPACE};

}  // namespace

const char* find(std::string_view text) noexcept {
    const char* const found = findIn(OTHERS, text);
    return found != nullptr ? found : findIn(REMOVE_NAMESPACE, text);
}

}  // namespace OpenWBEM::ChangeStatements
