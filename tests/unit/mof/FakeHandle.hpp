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

    CIMClass getClass(const String& ns, const String& className, ELocalOnlyFlag localOnly,
                      EIncludeQualifiersFlag includeQualifiers,
                      EIncludeClassOriginFlag includeClassOrigin,
                      const StringArray* propertyList) override;
    CIMQualifierType getQualifierType(const String& ns, const String& name) override;

    void enumClass(const String&, const String&, CIMClassResultHandlerIFC&, EDeepFlag,
                   ELocalOnlyFlag, EIncludeQualifiersFlag, EIncludeClassOriginFlag) override;
    void enumClassNames(const String&, const String&, StringResultHandlerIFC&, EDeepFlag) override;
    void createClass(const String&, const CIMClass&) override;
    void modifyClass(const String&, const CIMClass&) override;
    void deleteClass(const String&, const String&) override;
    void enumInstances(const String&, const String&, CIMInstanceResultHandlerIFC&, EDeepFlag,
                       ELocalOnlyFlag, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                       const StringArray*) override;
    void enumInstanceNames(const String&, const String&, CIMObjectPathResultHandlerIFC&) override;
    CIMInstance getInstance(const String&, const CIMObjectPath&, ELocalOnlyFlag,
                            EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                            const StringArray*) override;
    CIMObjectPath createInstance(const String&, const CIMInstance&) override;
    void modifyInstance(const String&, const CIMInstance&, EIncludeQualifiersFlag,
                        const StringArray*) override;
    void deleteInstance(const String&, const CIMObjectPath&) override;
    void enumQualifierTypes(const String&, CIMQualifierTypeResultHandlerIFC&) override;
    void setQualifierType(const String&, const CIMQualifierType&) override;
    void deleteQualifierType(const String&, const String&) override;
    void associators(const String&, const CIMObjectPath&, CIMInstanceResultHandlerIFC&,
                     const AssociationFilter&, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                     const StringArray*) override;
    void associatorNames(const String&, const CIMObjectPath&, CIMObjectPathResultHandlerIFC&,
                         const AssociationFilter&) override;
    void references(const String&, const CIMObjectPath&, CIMInstanceResultHandlerIFC&,
                    const AssociationFilter&, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                    const StringArray*) override;
    void referenceNames(const String&, const CIMObjectPath&, CIMObjectPathResultHandlerIFC&,
                        const AssociationFilter&) override;
    void associatorsClasses(const String&, const CIMObjectPath&, CIMClassResultHandlerIFC&,
                            const AssociationFilter&, EIncludeQualifiersFlag,
                            EIncludeClassOriginFlag, const StringArray*) override;
    void referencesClasses(const String&, const CIMObjectPath&, CIMClassResultHandlerIFC&,
                           const AssociationFilter&, EIncludeQualifiersFlag,
                           EIncludeClassOriginFlag, const StringArray*) override;
    void commit() override;
};

}  // namespace OpenWBEM::MOF
