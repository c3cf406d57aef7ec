// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: the table of the intrinsic methods and their parameters (DSP0200 5.3.2).
#pragma once

#include "openwbem/cimxml/IntrinsicMethod.hpp"

namespace OpenWBEM::CIMXML {

/// The parameters besides the one that names or is the object, as bits.
namespace Parameter {
enum Bits : uint32_t {
    LOCAL_ONLY = 1U << 0U,
    INCLUDE_QUALIFIERS = 1U << 1U,
    INCLUDE_CLASS_ORIGIN = 1U << 2U,
    PROPERTY_LIST = 1U << 3U,
    DEEP_INHERITANCE = 1U << 4U,
    ASSOC_CLASS = 1U << 5U,
    RESULT_CLASS = 1U << 6U,
    ROLE = 1U << 7U,
    RESULT_ROLE = 1U << 8U,
    PROPERTY_NAME = 1U << 9U,
    FILTER_QUERY_LANGUAGE = 1U << 10U,
    FILTER_QUERY = 1U << 11U,
    OPERATION_TIMEOUT = 1U << 12U,
    CONTINUE_ON_ERROR = 1U << 13U,
    MAX_OBJECT_COUNT = 1U << 14U,
    ENUMERATION_CONTEXT = 1U << 15U,
};

inline constexpr uint32_t ASSOCIATION = ASSOC_CLASS | RESULT_CLASS | ROLE | RESULT_ROLE;
inline constexpr uint32_t REFERENCE = RESULT_CLASS | ROLE;
inline constexpr uint32_t OPEN =
    FILTER_QUERY_LANGUAGE | FILTER_QUERY | OPERATION_TIMEOUT | CONTINUE_ON_ERROR | MAX_OBJECT_COUNT;
inline constexpr uint32_t PULL = ENUMERATION_CONTEXT | MAX_OBJECT_COUNT;
}  // namespace Parameter

/// Which argument becomes the operand of the operation.
enum class Target : uint8_t {
    NONE,
    CLASS_NAME,
    INSTANCE_NAME,
    OBJECT_NAME,  ///< an instance or a class
    NAME,         ///< of a qualifier type
    CLASS,
    INSTANCE,
    NAMED_INSTANCE,
    QUALIFIER_TYPE
};

struct IntrinsicMethod {
    const char* name;
    Operation operation;  ///< of no meaning for Pull::PULL, CLOSE and COUNT
    ResultForm form;
    Target target = Target::NONE;
    const char* targetName = nullptr;
    uint32_t parameters = 0;
    uint32_t required = 0;     ///< those of them that have no default; the target is required, too
    uint32_t trueAtStart = 0;  ///< those of them that are true unless they are given
    Pull pull = Pull::NONE;
    bool isTargetOptional = false;
};

/// The method of that name, without regard to case, or null.
const IntrinsicMethod* findMethod(std::string_view name) noexcept;

}  // namespace OpenWBEM::CIMXML
