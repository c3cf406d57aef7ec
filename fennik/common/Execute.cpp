// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/Execute.hpp"

#include <unistd.h>

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/Secure.hpp"
#include "fennik/common/TextUtils.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::String;
using blocxx::StringArray;
namespace Process = blocxx::Process;

namespace {

std::optional<Process::Identity> unprivilegedIdentity() {
    if (geteuid() != 0) {
        return std::nullopt;
    }
    return blocxx::Secure::unprivilegedAccount(Layout::ACCOUNT);
}

Process::Status run(const StringArray& argv, String& output, const String& input, int timeLimit,
                    const StringArray& environment, Resources resources) {
    try {
        const std::chrono::seconds limit{std::max(timeLimit, 0)};
        return Process::run({argv, environment, input, unprivilegedIdentity(), limit,
                             resources == Resources::AS_AT_BOOT},
                            output);
    } catch (const blocxx::ProcessException& e) {
        output = e.getMessage();
        return {};
    }
}

}  // namespace

void executeUnprivileged(const StringArray& argv, String& output, const String& label,
                         const String& input, Process::Status* status, int timeLimit,
                         const StringArray& environment, Resources resources) {
    const blocxx::Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, Format("%1Running \"%2\"", label, untokenize(argv, "\" \"")));
    const Process::Status result = run(argv, output, input, timeLimit, environment, resources);
    BLOCXX_LOG_DEBUG(logger, Format("%1%2, output: %3", label, result.toString(), output));
    if (status != nullptr) {
        *status = result;
    }
}

bool executeUnprivilegedB(const String& commandLine, String& output, const String& label,
                          const String& input, Process::Status* status, int timeLimit,
                          const StringArray& environment) {
    Process::Status result;
    executeUnprivileged(blocxx::tokenize(commandLine), output, label, input, &result, timeLimit,
                        environment);
    if (status != nullptr) {
        *status = result;
    }
    return result.terminatedSuccessfully();
}

}  // namespace KOVNS2
