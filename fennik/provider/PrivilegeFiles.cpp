// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/PrivilegeFiles.hpp"

#include <algorithm>
#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2::PrivilegeFiles {

using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;

namespace {

constexpr std::string_view UNSAFE = " \"'()/:<>[]\\^`{}|";
constexpr size_t MAX_PATH_LENGTH = 4096;

}  // namespace

String safeFileName(const String& text) {
    String safe = text;
    std::ranges::replace_if(
        safe, [](char c) { return UNSAFE.find(c) != std::string_view::npos; }, '_');
    return safe;
}

String fileName(const OpenWBEM::CIMInstance& registrationInstance) {
    return "oop1-" + safeFileName(ProviderModel::text(registrationInstance, "InstanceID"));
}

String oopPrivilegeFile(const OpenWBEM::CIMInstance& registrationInstance) {
    return String(Layout::AGENT_PRIVILEGES_DIRECTORY) + "/" + fileName(registrationInstance);
}

String providerPrivilegeFile(const OpenWBEM::CIMInstance& registrationInstance) {
    return String(Layout::PRIVILEGES_DIRECTORY) + "/" + fileName(registrationInstance);
}

String scriptedInterfacePrivilegeFile(const String& name, bool mustNotExist) {
    const String path = Format("%1/scriptedprov/%2%3.priv", Layout::PRIVILEGES_DIRECTORY, "scrIFC-",
                               safeFileName(name));
    if (path.size() > MAX_PATH_LENGTH) {
        throw FennikException(Format("Length of resulting privilege file (%1) is too long.", path),
                              ProviderModel::INVALID_INPUT);
    }
    if (mustNotExist && FileSystem::exists(path)) {
        throw FennikException(Format("Privilege File: %1 already exists.", path),
                              ProviderModel::INVALID_INPUT);
    }
    return path;
}

void writeFile(const String& path, const String& contents) {
    using FileSystem::WriteStep;
    switch (FileSystem::createNew(path, contents)) {
        case WriteStep::CREATE:
            BLOCXX_THROW_ERRNO(blocxx::IOException, Format("createFile(%1) failed", path));
        case WriteStep::WRITE:
        case WriteStep::WRITE_REST:
        case WriteStep::SYNC:
            BLOCXX_THROW_ERRNO(blocxx::IOException, Format("write to %1 failed", path));
        case WriteStep::CLOSE:
            BLOCXX_THROW_ERRNO(blocxx::IOException, Format("close of %1 failed", path));
        case WriteStep::DONE:
            break;
    }
}

void syncNames(const String& prefix) {
    FileSystem::syncEntries(prefix + Layout::PRIVILEGES_DIRECTORY);
    FileSystem::syncEntries(prefix + Layout::AGENT_PRIVILEGES_DIRECTORY);
}

}  // namespace KOVNS2::PrivilegeFiles
