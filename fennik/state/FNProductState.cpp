// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/FNProductState.hpp"

#include <utility>

#include "blocxx/Interruption.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/state/StateFile.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateGathering.hpp"
#include "fennik/state/StateRestoring.hpp"
#include "openwbem/xml/XMLParserDOM.hpp"

namespace KOVNS2 {

using namespace StateFormat;
using blocxx::Format;
using OpenWBEM::CIMOMHandleIFCRef;

namespace {

/// Logs "WHAT: REASON" and throws FennikException `what` with `reason` as its cause.
[[noreturn]] void failWith(const String& what, const blocxx::Exception& reason, int errorCode,
                           CallSite place = CallSite::here()) {
    logError(Format("%1: %2", what, reason));
    throw FennikException(what, errorCode, &reason, place);
}

XMLNode gather(const CIMOMHandleIFCRef& handle) {
    try {
        return createStateDump(handle);
    } catch (const FennikException& e) {
        logError(Format("Failed creating state dump: %1", e));
        throw;
    } catch (const blocxx::Exception& e) {
        failWith("Failed creating state dump", e, ErrorCode::STATE_FAILED);
    } catch (...) {
        logError("Unknown error occurred while creating state dump");
        throw;
    }
}

}  // namespace

void saveProductStatesToFile(const CIMOMHandleIFCRef& handle, const String& fileName) {
    log().debug("Saving all product registration state to \"%1\"", fileName);
    const XMLNode state = gather(handle);
    blocxx::Interruption::check();
    StateFile::write(state, fileName);
    log().debug("Successfully saved all product registration state to \"%1\"", fileName);
}

void restoreProductStatesFromFile(const CIMOMHandleIFCRef& handle, const String& fileName,
                                  const String& prefix, CleanupActions_t& undo) {
    log().debug("Loading product registration state from \"%1\"", fileName);
    String document = StateFile::read(fileName);
    try {
        const XMLNode root = OpenWBEM::XMLParserDOM::parse(std::move(document));
        restoreStateDump(root, {handle, prefix, undo});
        log().debug("Successfully loaded product registration state from \"%1\"", fileName);
    } catch (const OpenWBEM::XMLParseException& e) {
        failWith(Format("Invalid state dump found in \"%1\" during restoration:", fileName), e,
                 ErrorCode::INVALID_INPUT);
    } catch (const FennikException& e) {
        logError(Format("Failed restoring state dump from \"%1\": %2", fileName, e));
        throw;
    } catch (const blocxx::Exception& e) {
        failWith(Format("Failed restoring state dump from %1", fileName), e,
                 ErrorCode::STATE_FAILED);
    } catch (...) {
        logError(Format("Unknown error occurred while restoring state dump from \"%1\"", fileName));
        throw;
    }
}

}  // namespace KOVNS2
