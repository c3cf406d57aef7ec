// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a provider list: each line becomes an entry with whole paths, or the list is refused
// with one of three messages. Any bytes as an identifier make a file name that cannot leave its
// directory.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fennik/common/FennikException.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"

namespace {

using namespace KOVNS2;

void check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

bool isField(const String& path) {
    return !path.empty() && path.find_first_of(",\n") == String::npos;
}

/// Counts the entries instead of reading their files.
class EntryCounter : public ProviderRegistrationFacility {
public:
    explicit EntryCounter(CleanupActions_t& undo)
        : ProviderRegistrationFacility(OpenWBEM::CIMOMHandleIFCRef(), "sample", "/stage", undo) {}

    ProviderRegistrationRef createOOP1ProviderRegistration(
        const String& regMofPath, const String& providerMofPath,
        const String& privilegeFilePath) override {
        check(isField(regMofPath) && isField(providerMofPath), "a path is no field");
        check(privilegeFilePath.empty() || isField(privilegeFilePath),
              "a privilege path is no field");
        ++m_entries;
        return {};
    }

    size_t m_entries = 0;
};

void parse(const String& list) {
    CleanupActions_t undo;
    EntryCounter counter(undo);
    const size_t lines = blocxx::tokenize(list, "\n").size();
    try {
        check(counter.parseInputData(list).size() == counter.m_entries, "an entry is missing");
        check(counter.m_entries == lines, "a line is missing");
    } catch (const FennikException& e) {
        const String message = e.getMessage();
        check(e.getErrorCode() == 14, "another error code");
        check(counter.m_entries < lines, "a failure without a line");
        check(message == "Empty line in provider registration list" ||
                  message.starts_with("Invalid provider type: ") ||
                  message.starts_with(
                      "Invalid number of fields in oop1 provider registration entry: "),
              e.getMessage());
    }
    check(undo.empty(), "something was changed");
}

void name(const String& id) {
    const String safe = PrivilegeFiles::safeFileName(id);
    check(safe.size() == id.size(), "a name of another length");
    check(safe.find_first_of(" \"'()/:<>[]\\^`{}|") == String::npos, "an unsafe character");
    check(PrivilegeFiles::safeFileName(safe) == safe, "a safe name is not safe");
    for (size_t i = 0; i < id.size(); ++i) {
        check(safe[i] == id[i] || safe[i] == '_', "another character");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const String input(reinterpret_cast<const char*>(data), size);
    parse(input);
    name(input);
    return 0;
}
