// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderList.hpp"

#include "fennik/common/FennikException.hpp"
#include "fennik/provider/ProviderModel.hpp"

namespace KOVNS2::ProviderList {

using blocxx::Format;
using ProviderModel::INVALID_INPUT;

Entry parseEntry(const String& line) {
    constexpr size_t WITHOUT_PRIVILEGES = 3;
    constexpr size_t WITH_PRIVILEGES = 4;
    blocxx::StringArray fields = blocxx::tokenize(line, ",");
    if (fields.empty()) {
        throw FennikException("Empty line in provider registration list", INVALID_INPUT);
    }
    if (fields.front() != "oop1") {
        throw FennikException(Format("Invalid provider type: %1", fields.front()), INVALID_INPUT);
    }
    if (fields.size() == WITHOUT_PRIVILEGES) {
        fields.emplace_back();
    }
    if (fields.size() != WITH_PRIVILEGES) {
        throw FennikException(
            Format("Invalid number of fields in oop1 provider registration entry: %1", line),
            INVALID_INPUT);
    }
    return {fields[1], fields[2], fields[3]};
}

}  // namespace KOVNS2::ProviderList
