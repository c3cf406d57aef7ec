// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/SourceTexts.hpp"

#include <algorithm>

#include "blocxx/Printable.hpp"

namespace OpenWBEM::MOF {

SourceText& SourceTexts::add(Source source) {
    if (source.text.size() > SourceText::MAX_SIZE) {
        throw MOFCompilerException(
            __FILE__, __LINE__, blocxx::oneLine(source.name) + ":1:1: error: the text is too large",
            source.name, 1, 1);
    }
    return m_texts.emplace_back(std::move(source));
}

MOFCompilerException SourceTexts::describe(const CompileError& error, int errorCode) const {
    const auto home = std::ranges::find_if(
        m_texts, [&](const SourceText& text) { return text.contains(error.at); });
    const bool isFound = home != m_texts.end();
    const SourceText& text = isFound ? *home : m_texts.front();
    const CompileError placed{isFound ? error.at : text.begin(), error.what};
    const SourceText::Place place = text.locate(placed.at);
    return {__FILE__,     __LINE__, text.describe(placed), text.name(), place.line,
            place.column, errorCode};
}

}  // namespace OpenWBEM::MOF
