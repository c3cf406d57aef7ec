// SPDX-License-Identifier: Apache-2.0
//
// Finds an element of a list by its CIM name, without regard to case. Short lists are searched
// linearly. Long ones, which only hostile or generated input has, get a hash table, so that the
// time stays in proportion to their length.
#pragma once

#include <optional>
#include <unordered_map>

#include "blocxx/String.hpp"
#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM {

/// Indexes a list whose elements have getName(). The list must outlive the index and not change.
template <class Element>
class NameIndex {
public:
    explicit NameIndex(const Array<Element>& list) : m_list(list) {
        if (list.size() > LINEAR_LIMIT) {
            m_table.reserve(list.size());
            for (size_t i = 0; i < list.size(); ++i) {
                if (!m_table.emplace(blocxx::toLower(list[i].getName()), i).second &&
                    !m_duplicate) {
                    m_duplicate = i;
                }
            }
        }
    }

    /// The index of the first element of that name.
    std::optional<size_t> find(std::string_view name) const {
        if (!m_table.empty()) {
            const auto found = m_table.find(blocxx::toLower(name));
            return found == m_table.end() ? std::nullopt : std::optional<size_t>(found->second);
        }
        return findBefore(name, m_list.size());
    }

    /// The index of an element that has the name of an earlier one.
    std::optional<size_t> findDuplicate() const {
        if (!m_table.empty()) {
            return m_duplicate;
        }
        for (size_t i = 1; i < m_list.size(); ++i) {
            if (findBefore(m_list[i].getName(), i)) {
                return i;
            }
        }
        return std::nullopt;
    }

private:
    static constexpr size_t LINEAR_LIMIT = 64;

    std::optional<size_t> findBefore(std::string_view name, size_t end) const {
        for (size_t i = 0; i < end; ++i) {
            if (blocxx::equalsIgnoreCase(m_list[i].getName(), name)) {
                return i;
            }
        }
        return std::nullopt;
    }

    const Array<Element>& m_list;
    std::unordered_map<String, size_t> m_table;
    std::optional<size_t> m_duplicate;
};

}  // namespace OpenWBEM
