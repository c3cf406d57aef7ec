// SPDX-License-Identifier: Apache-2.0
#include "bench/Corpus.hpp"

#include <stdexcept>

namespace KovBench {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

namespace {

constexpr const char* TOP_FILE = "/cim_schema_2.41.0.mof";
constexpr const char* NAMESPACE = "root/cimv2";

}  // namespace

Corpus::Corpus(const blocxx::String& directory) {
    m_sources.push_back(MOF::includeFile(directory + TOP_FILE, directory + "/."));
    const auto remember = [this](const String& name, const String& includingSource) {
        m_sources.push_back(MOF::includeFile(name, includingSource));
        return m_sources.back();
    };
    const MOF::Source top = m_sources.front();
    MOF::compile(top, {}, NAMESPACE, remember);
    for (const auto& source : m_sources) {
        m_texts.emplace(source.name, source.text);
        m_byteCount += source.text.size();
    }
}

MOF::NamespaceContent Corpus::compile() const {
    // A name is made absolute in the way that the compiler's own handler does it.
    const auto fromMemory = [this](const String& name, const String& includingSource) {
        const String path = includingSource.substr(0, includingSource.rfind('/') + 1).append(name);
        return MOF::Source{path, m_texts.at(path)};
    };
    auto content = MOF::compile(m_sources.front(), {}, NAMESPACE, fromMemory);
    if (content.size() != 1) {
        throw std::runtime_error("the schema is not in one namespace");
    }
    return std::move(content.front());
}

}  // namespace KovBench
