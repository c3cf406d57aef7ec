// SPDX-License-Identifier: Apache-2.0
//
// The statements that change the rows of a repository; there are no others. They stand together
// because a log of changes is carried out by somebody else than who wrote it: what is not one of
// these is refused, whatever it would do.
#pragma once

#include <array>
#include <string_view>

namespace OpenWBEM::ChangeStatements {

inline constexpr const char* ADD_NAMESPACE = "INSERT INTO namespace (name, spelling) VALUES (?, ?)";
/// All that a namespace holds and then itself, by its id.
inline constexpr std::array REMOVE_NAMESPACE = {
    "DELETE FROM reference WHERE instance IN (SELECT id FROM instance WHERE ns=?)",
    "DELETE FROM instance WHERE ns=?",
    "DELETE FROM class_reference WHERE ns=?",
    "DELETE FROM class WHERE ns=?",
    "DELETE FROM qualifier_type WHERE ns=?",
    "DELETE FROM namespace WHERE id=?"};

inline constexpr const char* PUT_QUALIFIER_TYPE =
    "INSERT INTO qualifier_type (ns, name, body) VALUES (?, ?, ?) "
    "ON CONFLICT (ns, name) DO UPDATE SET body=excluded.body";
inline constexpr const char* REMOVE_QUALIFIER_TYPE =
    "DELETE FROM qualifier_type WHERE ns=? AND name=?";

inline constexpr const char* ADD_CLASS =
    "INSERT INTO class (ns, super, name, spelling, body) VALUES (?, ?, ?, ?, ?)";
inline constexpr const char* REPLACE_CLASS =
    "UPDATE class SET super=?, spelling=?, body=? WHERE id=?";
inline constexpr const char* REMOVE_CLASS = "DELETE FROM class WHERE id=? AND ns=?";
inline constexpr const char* ADD_CLASS_REFERENCE =
    "INSERT INTO class_reference (ns, target, class, role) VALUES (?, ?, ?, ?)";
inline constexpr const char* REMOVE_CLASS_REFERENCES = "DELETE FROM class_reference WHERE class=?";

inline constexpr const char* ADD_INSTANCE =
    "INSERT INTO instance (ns, class, key, path, body) VALUES (?, ?, ?, ?, ?)";
inline constexpr const char* CHANGE_INSTANCE = "UPDATE instance SET body=? WHERE id=?";
inline constexpr const char* REMOVE_INSTANCE = "DELETE FROM instance WHERE id=?";
inline constexpr const char* ADD_REFERENCE =
    "INSERT INTO reference (target, ns, instance, role) VALUES (?, ?, ?, ?)";
inline constexpr const char* REMOVE_REFERENCES = "DELETE FROM reference WHERE instance=?";

/// The address of the statement of that text; null when it is none of these.
const char* find(std::string_view text) noexcept;

}  // namespace OpenWBEM::ChangeStatements
