// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/ServedRepository.hpp"

#include "blocxx/Format.hpp"

namespace OwCimomd {

/// Whoever may not read in a namespace finds nothing there: an association into it leads to
/// nothing.
class ServedRepository::VisibleObjects : public RepositoryCIMOMHandle {
public:
    using RepositoryCIMOMHandle::RepositoryCIMOMHandle;

    OperationResult carryOut(const OperationCall& call) override {
        if (call.operation == Operation::GET_INSTANCE && m_mayRead && !m_mayRead(call.ns)) {
            OPENWBEM_THROW_CIM(NOT_FOUND, blocxx::Format("there is no instance %1",
                                                         call.as<CIMObjectPath>().modelPath()));
        }
        return RepositoryCIMOMHandle::carryOut(call);
    }
    void setMayRead(MayRead mayRead) { m_mayRead = std::move(mayRead); }

private:
    MayRead m_mayRead;
};

ServedRepository::ServedRepository(const String& directory)
    : m_opened(directory, RepositoryUse::SERVED),
      m_visible(m_opened.followAssociationsThrough<VisibleObjects>()) {}

ServedRepository::~ServedRepository() = default;

void ServedRepository::setMayRead(MayRead mayRead) {
    m_visible->setMayRead(std::move(mayRead));
}

}  // namespace OwCimomd
