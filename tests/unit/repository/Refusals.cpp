// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/repository/Refusals.hpp"

namespace KovTest {

using T = CIMDataType;

namespace {

const StringArray UNKNOWN_LIST{"Shoe"};

void get(CIMOMHandleIFC& handle, const CIMObjectPath& path) {
    handle.getInstance("test", path);
}

void modify(CIMOMHandleIFC& handle, const CIMInstance& instance,
            const StringArray* list = nullptr) {
    handle.modifyInstance("test", instance, E_EXCLUDE_QUALIFIERS, list);
}

}  // namespace

Array<Refusal> refusals(Subject& subject) {
    CIMOMHandleIFC& handle = subject.handle();
    handle.createInstance("test", person("ann"));
    handle.createInstance("test", car(7));
    CIMInstance ageText = person("bob");
    ageText.setProperty(CIMProperty("Age", T::STRING, CIMValue("old")));
    CIMInstance unknown = person("bob");
    unknown.setProperty("Shoe", CIMValue("left"));
    const CIMQualifierType noName("1st");
    Array<Refusal> rows = {
        {"unknown namespace, instance", 3,
         [=, &handle] { handle.createInstance("none", person("x")); }},
        {"unknown namespace, class", 3, [=, &handle] { handle.enumClassNamesA("none", ""); }},
        {"unknown namespace, qualifier", 3,
         [=, &handle] { handle.getQualifierType("none", "Key"); }},
        {"namespace exists in other case", 11, [&subject] { subject.createNameSpace("TEST"); }},
        {"empty namespace name", 4, [&subject] { subject.createNameSpace(""); }},
        {"namespace with empty part", 4, [&subject] { subject.createNameSpace("a//b"); }},
        {"namespace that climbs", 4, [&subject] { subject.createNameSpace("../a"); }},
        {"instance of unknown class", 5,
         [=, &handle] { handle.createInstance("test", CIMInstance("No")); }},
        {"path of unknown class", 5,
         [=, &handle] { get(handle, CIMObjectPath("No").setKeyValue("a", CIMValue(true))); }},
        {"names of unknown class", 5, [=, &handle] { handle.enumInstanceNamesA("test", "No"); }},
        {"instances of unknown class", 5, [=, &handle] { handle.enumInstancesA("test", "No"); }},
        {"classes below unknown class", 5, [=, &handle] { handle.enumClassNamesA("test", "No"); }},
        {"get unknown class", 6, [=, &handle] { handle.getClass("test", "No"); }},
        {"delete unknown class", 6, [=, &handle] { handle.deleteClass("test", "No"); }},
        {"modify unknown class", 6, [=, &handle] { handle.modifyClass("test", CIMClass("No")); }},
        {"no such superclass", 10,
         [=, &handle] { handle.createClass("test", CIMClass("A", "No")); }},
        {"own superclass", 10, [=, &handle] { handle.createClass("test", CIMClass("A", "A")); }},
        {"class exists", 11, [=, &handle] { handle.createClass("test", CIMClass("person")); }},
        {"class name is no name", 4, [=, &handle] { handle.createClass("test", CIMClass("a b")); }},
        {"class has subclasses", 8, [=, &handle] { handle.deleteClass("test", "Person"); }},
        {"class has instances", 9, [=, &handle] { handle.deleteClass("test", "Car"); }},
        {"abstract class", 4, [=, &handle] { handle.createInstance("test", CIMInstance("Root")); }},
        {"null key", 4, [=, &handle] { handle.createInstance("test", CIMInstance("Person")); }},
        {"instance exists", 11, [=, &handle] { handle.createInstance("test", person("ann")); }},
        {"wrong type", 13, [=, &handle] { handle.createInstance("test", ageText); }},
        {"unknown property", 12, [=, &handle] { handle.createInstance("test", unknown); }},
        {"modify unknown instance", 6, [=, &handle] { modify(handle, person("bob")); }},
        {"modify unlisted property", 12,
         [=, &handle] { modify(handle, person("ann"), &UNKNOWN_LIST); }},
        {"modify without key", 4, [=, &handle] { modify(handle, CIMInstance("Person")); }},
        {"get unknown instance", 6, [=, &handle] { get(handle, personPath("bob")); }},
        {"key of other name", 4,
         [=, &handle] { get(handle, CIMObjectPath("Car").setKeyValue("No", CIMValue(true))); }},
        {"delete unknown instance", 6,
         [=, &handle] { handle.deleteInstance("test", personPath("bob")); }},
        {"unknown qualifier type", 6, [=, &handle] { handle.getQualifierType("test", "No"); }},
        {"delete unknown qualifier type", 6,
         [=, &handle] { handle.deleteQualifierType("test", "No"); }},
        {"delete used qualifier type", 1,
         [=, &handle] { handle.deleteQualifierType("test", "Key"); }},
        {"qualifier type without name", 4,
         [=, &handle] { handle.setQualifierType("test", noName); }},
    };
    return rows;
}

}  // namespace KovTest
