// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/BoundedHandle.hpp"

#include "openwbem/mof/MOFRenderer.hpp"

namespace KovVerify {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

namespace {

// Texts that are about as long as what the object takes in memory.
const String& textOf(const String& name) {
    return name;
}
String textOf(const CIMObjectPath& path) {
    return path.toString();
}
template <class Object>
String textOf(const Object& object) {
    return MOF::toMOF(object);
}

}  // namespace

OperationResult BoundedHandle::carryOut(const OperationCall& call) {
    return std::visit(
        [&]<class T>(ResultHandlerIFC<T>* results) {
            auto deliver = makeResultHandler<T>([&](const T& object) {
                m_budget.take(textOf(object));
                results->handle(object);
            });
            OperationCall bounded = call;
            if (results != nullptr) {
                bounded.results = static_cast<ResultHandlerIFC<T>*>(&deliver);
            }
            return m_handle->carryOut(bounded);
        },
        call.results);
}

}  // namespace KovVerify
