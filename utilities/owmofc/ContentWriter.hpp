// SPDX-License-Identifier: Apache-2.0
//
// Brings what was compiled into a repository: what is there already in the same form is left alone,
// what is there in another form is changed.
#pragma once

#include <map>

#include "openwbem/mof/MOFCompiler.hpp"
#include "utilities/common/Repository.hpp"

namespace OwMofc {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

class ContentWriter {
public:
    explicit ContentWriter(Repository& repository) : m_repository(repository) {}

    /// Throws MOFCompilerException that tells the place, the object and the namespace, with the CIM
    /// status as its error code.
    void write(const MOF::NamespaceContent& content);
    /// The part of it that writes nothing.
    void requireNameSpace(const MOF::NamespaceContent& content) const;
    /// One line for each namespace that something was declared in.
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
