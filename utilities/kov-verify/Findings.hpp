// SPDX-License-Identifier: Apache-2.0
//
// What deviates from what is registered, and the command that mends each deviation.
#pragma once

#include <iosfwd>
#include <vector>

#include "blocxx/String.hpp"
#include "utilities/common/Budget.hpp"

namespace KovVerify {

using blocxx::String;
using blocxx::StringArray;

class Findings {
public:
    /// What follows is about this, also when something was before; nothing is printed of a section
    /// without deviations.
    void beginSection(String title);
    /// `what` may have anything in it; it is printed as one line. `command` must be a line made by
    /// Commands. Throws ExcessException when there are too many to keep.
    void add(const String& what, const String& command);

    size_t count() const noexcept { return m_count; }
    void print(std::ostream& out) const;

private:
    struct Finding {
        String what;
        String command;
    };
    struct Section {
        String title;
        std::vector<Finding> findings;
    };
    std::vector<Section> m_sections;
    OwUtilities::Budget m_budget{
        "there are more deviations than these. Mend them first, then run kov-verify again",
        size_t{16} << 20U};
    size_t m_current = 0;
    size_t m_count = 0;
};

}  // namespace KovVerify
