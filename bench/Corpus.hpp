// SPDX-License-Identifier: Apache-2.0
//
// The DMTF CIM schema in memory, so that what is measured does not wait for the file system.
#pragma once

#include <map>

#include "openwbem/mof/MOFCompiler.hpp"

namespace KovBench {

class Corpus {
public:
    /// Reads the schema of a directory: the file that includes the others, and every file that it
    /// names. Throws blocxx::FileSystemException.
    explicit Corpus(const blocxx::String& directory);

    /// In the order of inclusion, the including file first.
    const blocxx::Array<OpenWBEM::MOF::Source>& sources() const noexcept { return m_sources; }
    size_t byteCount() const noexcept { return m_byteCount; }

    /// The whole schema, compiled to arrays without any handle.
    OpenWBEM::MOF::NamespaceContent compile() const;

private:
    blocxx::Array<OpenWBEM::MOF::Source> m_sources;
    std::map<blocxx::String, blocxx::String> m_texts;
    size_t m_byteCount = 0;
};

}  // namespace KovBench
