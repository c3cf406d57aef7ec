// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNUtils.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using blocxx::Format;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::String;

CIMObjectPath productPath(const String& productName) {
    CIMObjectPath path("KOV_Product", Layout::KOV_NS);
    path.setKeyValue("Name", OpenWBEM::CIMValue(productName));
    return path;
}

CIMObjectPath CheckProductRegistration(const OpenWBEM::CIMOMHandleIFCRef& handle,
                                       const String& productName) {
    const blocxx::Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, Format("Checking product registration for \"%1\"", productName));
    CIMObjectPath path = productPath(productName);
    try {
        handle->getInstance(Layout::KOV_NS, path);
    } catch (const OpenWBEM::CIMException& e) {
        if (e.getErrNo() == OpenWBEM::CIMException::NOT_FOUND) {
            throw FennikException("The product has not been registered.", ErrorCode::NOT_REGISTERED,
                                  &e);
        }
        BLOCXX_LOG_DEBUG(logger, Format("CheckProductRegistration Caught exception: %1", e));
        throw FennikException("Error while checking product registration",
                              ErrorCode::REGISTRATION_UNKNOWN, &e);
    }
    return path;
}

}  // namespace KOVNS2
