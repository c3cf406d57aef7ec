// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMDataType.hpp"

#include <iterator>

namespace OpenWBEM {

namespace {

// In the order of CIMDataType::Type.
constexpr const char* TYPE_NAMES[] = {"invalid",   "boolean", "uint8",  "sint8",  "uint16",
                                      "sint16",    "uint32",  "sint32", "uint64", "sint64",
                                      "real32",    "real64",  "char16", "string", "datetime",
                                      "reference", "string",  "string"};
static_assert(std::size(TYPE_NAMES) == CIMDataType::EMBEDDEDCLASS + 1);

}  // namespace

CIMDataType CIMDataType::array(Type type, uint32_t size) {
    CIMDataType result(type);
    result.m_isArray = true;
    result.m_size = size;
    return result;
}

CIMDataType CIMDataType::reference(String className) {
    CIMDataType result(REFERENCE);
    result.m_refClassName = std::move(className);
    return result;
}

String CIMDataType::toString() const {
    if (m_type == REFERENCE && !m_refClassName.empty()) {
        return m_refClassName + " REF";
    }
    return toString(m_type);
}

const char* CIMDataType::toString(Type type) noexcept {
    return type <= EMBEDDEDCLASS ? TYPE_NAMES[type] : TYPE_NAMES[INVALID];
}

std::optional<CIMDataType::Type> CIMDataType::fromKeyword(std::string_view keyword) noexcept {
    for (int type = BOOLEAN; type <= DATETIME; ++type) {
        if (blocxx::equalsIgnoreCase(keyword, TYPE_NAMES[type])) {
            return static_cast<Type>(type);
        }
    }
    return std::nullopt;
}

bool operator==(const CIMDataType& a, const CIMDataType& b) noexcept {
    return a.m_type == b.m_type && a.m_isArray == b.m_isArray && a.m_size == b.m_size &&
           blocxx::equalsIgnoreCase(a.m_refClassName, b.m_refClassName);
}

}  // namespace OpenWBEM
