// SPDX-License-Identifier: Apache-2.0
//
// Writes compiled objects into a repository. Objects that exist in the same form stay, others that
// exist are modified.
#pragma once

#include <map>

#include "openwbem/mof/MOFCompiler.hpp"
#include "utilities/common/Repository.hpp"

namespace OwMofc {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

class ContentWriter {
public:
    explicit ContentWriter(Repository& repository) : m_repository(repository) {}

    /// Creates or modifies the objects. Throws MOFCompilerException, which names the place, the
    /// object and the namespace, with the CIM status as its error code.
    void write(const MOF::NamespaceContent& content);
    /// Checks that the namespace exists, unless `content` is empty. Throws MOFCompilerException, or
    /// CIMException when no pragma names the namespace.
    void requireNameSpace(const MOF::NamespaceContent& content) const;
    /// One line, with counts, for each namespace that was written to.
    String summary() const;

private:
    struct Counts {
        size_t qualifierTypes = 0;
        size_t classes = 0;
        size_t instances = 0;
    };
    Repository& m_repository;
    std::map<String, Counts> m_counts;
};

}  // namespace OwMofc
