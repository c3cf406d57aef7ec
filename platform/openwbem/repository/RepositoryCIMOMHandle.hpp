// SPDX-License-Identifier: Apache-2.0
//
// The operations of CIMOMHandleIFC on a repository opened directly, and its namespaces.
#pragma once

#include "openwbem/repository/CIMRepository.hpp"
#include "openwbem/repository/Enumeration.hpp"

namespace OpenWBEM {

class RepositoryCIMOMHandle : public CIMOMHandleIFC {
public:
    /// The repository may be opened (CIMRepository::init) after the handle is made. `context` must
    /// outlive the handle.
    RepositoryCIMOMHandle(CIMRepositoryRef repository, OperationContext& context);
    ~RepositoryCIMOMHandle() override;

    /// Throws CIMException ALREADY_EXISTS (names compare without regard to case) or
    /// INVALID_PARAMETER (not a namespace name: IDENTIFIERs of DSP0004 Annex A joined by "/").
    virtual void createNameSpace(const String& ns);
    /// Deletes the namespace with everything in it. Throws CIMException NOT_FOUND.
    virtual void deleteNameSpace(const String& ns);
    virtual void enumNameSpace(StringResultHandlerIFC& result);

    // CIMOMHandleIFC
    OperationResult carryOut(const OperationCall& call) override;
    void commit() override;
    void releaseMemory() override;

    /// An enumeration, for callers who pull its results; `call.results` is not used. Throws what
    /// the operation fails with at its start. The repository must stay open as long as the
    /// enumeration exists.
    AnyEnumeration open(const OperationCall& call);

private:
    OperationResult change(const OperationCall& call);

    CIMRepositoryRef m_repository;
    OperationContext& m_context;
};

}  // namespace OpenWBEM
