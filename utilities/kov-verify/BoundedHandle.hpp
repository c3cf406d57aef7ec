// SPDX-License-Identifier: Apache-2.0
//
// The repository for the checks, which collect what they read: whoever can write into it could fill
// the memory with it.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "utilities/common/Budget.hpp"

namespace KovVerify {

/// Passes each operation to another handle, and takes the results of enumerations from a budget
/// before they are delivered. Throws ExcessException in addition to what that handle throws.
class BoundedHandle : public OpenWBEM::CIMOMHandleIFC {
public:
    /// `budget` must outlive the handle.
    BoundedHandle(OpenWBEM::CIMOMHandleIFCRef handle, OwUtilities::Budget& budget)
        : m_handle(std::move(handle)), m_budget(budget) {}

    OpenWBEM::OperationResult carryOut(const OpenWBEM::OperationCall& call) override;
    void commit() override { m_handle->commit(); }

private:
    OpenWBEM::CIMOMHandleIFCRef m_handle;
    OwUtilities::Budget& m_budget;
};

}  // namespace KovVerify
