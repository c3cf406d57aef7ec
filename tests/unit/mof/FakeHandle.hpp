// SPDX-License-Identifier: Apache-2.0
//
// A handle over two maps that counts what it is asked for. Everything else that a handle can do
// fails the test.
#pragma once

#include <map>

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace OpenWBEM::MOF {

class FakeHandle : public CIMOMHandleIFC {
public:
    /// By name in lower case; behind "NAMESPACE:" those of one namespace only.
    std::map<String, CIMClass> classes;
    std::map<String, CIMQualifierType> qualifierTypes;  ///< by name in lower case
    /// What namespaces fail with in which nothing can be looked up.
    std::map<String, CIMException::ErrNoType> closed;
    CIMException::ErrNoType absence = CIMException::NOT_FOUND;
    StringArray asked;

    void add(const CIMClass& cls) { classes[blocxx::toLower(cls.getName())] = cls; }
    void add(const CIMQualifierType& type) {
        qualifierTypes[blocxx::toLower(type.getName())] = type;
    }

    OperationResult carryOut(const OperationCall& call) override;
    void commit() override;

private:
    CIMClass findClass(const OperationCall& call);
    CIMQualifierType findQualifierType(const String& name);
};

}  // namespace OpenWBEM::MOF
