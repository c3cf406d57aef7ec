// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Findings.hpp"

#include <algorithm>
#include <ostream>

#include "utilities/kov-verify/Commands.hpp"

namespace KovVerify {

void Findings::beginSection(String title) {
    const auto known = std::ranges::find(m_sections, title, &Section::title);
    m_current = static_cast<size_t>(known - m_sections.begin());
    if (known == m_sections.end()) {
        m_sections.push_back({std::move(title), {}});
    }
}

void Findings::add(const String& what, const String& command) {
    Finding finding{Commands::oneLine(what), Commands::oneLine(command)};
    m_budget.take(finding.what);
    m_budget.take(finding.command);
    m_sections[m_current].findings.push_back(std::move(finding));
    ++m_count;
}

void Findings::print(std::ostream& out) const {
    for (const Section& section : m_sections) {
        if (section.findings.empty()) {
            continue;
        }
        out << Commands::oneLine(section.title) << ":\n";
        for (const Finding& finding : section.findings) {
            out << "  " << finding.what << "\n      " << finding.command << "\n";
        }
    }
}

}  // namespace KovVerify
