// SPDX-License-Identifier: Apache-2.0
//
// Limits how deep references and embedded objects are nested. In text form each is a quoted string
// in the text around it, and each level of quotes doubles the backslashes: a few dozen levels would
// exhaust the memory.
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMValueRep.hpp"

namespace OpenWBEM::ValueDetail {

namespace {

constexpr uint8_t MAX_NESTING = 8;

class Depth {
public:
    void see(const CIMValue& value) { m_most = std::max(m_most, CIMValue::Rep::nestingIn(value)); }
    void see(const CIMQualifierArray& qualifiers) {
        for (const CIMQualifier& qualifier : qualifiers) {
            see(qualifier.getValue());
        }
    }
    void see(const CIMPropertyArray& properties) {
        for (const CIMProperty& property : properties) {
            see(property.getValue());
            see(property.getQualifiers());
        }
    }
    void see(const CIMMethod& method) {
        see(method.getQualifiers());
        for (const CIMParameter& parameter : method.getParameters()) {
            see(parameter.getQualifiers());
        }
    }
    /// The nesting of a value that holds what was seen.
    uint8_t around() const {
        if (m_most >= MAX_NESTING) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                               "References and embedded objects may stand in each other " +
                                   std::to_string(MAX_NESTING) + " deep at most");
        }
        return static_cast<uint8_t>(m_most + 1);
    }

private:
    uint8_t m_most = 0;
};

}  // namespace

uint8_t nestingOf(const CIMObjectPath& path) {
    Depth depth;
    depth.see(path.getKeys());
    return depth.around();
}

uint8_t nestingOf(const CIMInstance& instance) {
    Depth depth;
    depth.see(instance.getProperties());
    depth.see(instance.getQualifiers());
    return depth.around();
}

uint8_t nestingOf(const CIMClass& cls) {
    Depth depth;
    depth.see(cls.getProperties());
    depth.see(cls.getQualifiers());
    for (const CIMMethod& method : cls.getMethods()) {
        depth.see(method);
    }
    return depth.around();
}

}  // namespace OpenWBEM::ValueDetail
