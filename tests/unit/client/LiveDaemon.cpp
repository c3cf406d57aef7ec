// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/client/LiveDaemon.hpp"

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

namespace KovTest {

namespace {

using T = CIMDataType;

void addInterop(RepositoryCIMOMHandle& handle) {
    handle.createNameSpace("root");
    handle.createNameSpace("root/security");
    for (const char* ns : {"root", "root/security"}) {
        CIMFlavor fixed;
        fixed.overridable = false;
        handle.setQualifierType(ns, qualifierType("Key", T::BOOLEAN, CIMScope::PROPERTY, fixed));
    }
    CIMPropertyArray properties;
    for (const char* key :
         {"SystemCreationClassName", "SystemName", "ObjectManagerCreationClassName",
          "ObjectManagerName", "CreationClassName", "Name"}) {
        properties.push_back(property(key, T::STRING, true));
    }
    properties.push_back(property("ClassInfo", T::UINT16));
    properties.push_back(property("DescriptionOfClassInfo", T::STRING));
    handle.createClass("root", makeClass("CIM_Namespace", "", properties));
    handle.createClass("root/security", makeClass("OpenWBEM_UserACL", "",
                                                  {property("nspace", T::STRING, true),
                                                   property("username", T::STRING, true),
                                                   property("capability", T::STRING)}));
}

[[noreturn]] void execDaemon(const String& prefix, const String& log) {
    const int fd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    ::dup2(fd, STDERR_FILENO);
    ::execl(KOV_OWCIMOMD, KOV_OWCIMOMD, "--foreground", "--dest-dir", prefix.c_str(), nullptr);
    ::_exit(127);
}

}  // namespace

LiveDaemon::LiveDaemon(Start start) {
    namespace fs = std::filesystem;
    fs::permissions(prefix(), fs::perms(0755));
    fs::create_directories(repository());
    fs::create_directories(config() + ".d");
    writeFile(config(), "# nothing\n");
    CIMRepository::create(repository());
    OpenRepository opened(repository());
    addInterop(*opened);
    opened.repository().close();
    if (start == Start::NOW) {
        this->start();
    }
}

LiveDaemon::~LiveDaemon() {
    if (isRunning()) {
        end(SIGKILL);
    }
}

void LiveDaemon::start() {
    m_pid = ::fork();
    if (m_pid == 0) {
        const rlimit limit{m_descriptors, m_descriptors};
        if (m_descriptors != 0 && ::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            ::_exit(126);
        }
        execDaemon(prefix(), prefix() + "/log");
    }
    const auto handle = connect();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < deadline) {
        if (statusOf([&] { handle->ping(); }) == 0) {
            return;
        }
        if (::waitpid(m_pid, nullptr, WNOHANG) != 0) {
            m_pid = -1;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    throw std::runtime_error("the daemon does not answer: " + log());
}

int LiveDaemon::end(int signal) {
    int status = 0;
    ::kill(m_pid, signal);
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    return status;
}

ClientCIMOMHandleRef LiveDaemon::connect() const {
    auto handle = ClientCIMOMHandle::createFromURL("owbinary.wbem://localhost:" + socket());
    handle->getWBEMProtocolHandler()->setTimeout(
        blocxx::Timeout::relative(std::chrono::seconds(60)));
    return handle;
}

String LiveDaemon::log() const {
    std::ostringstream text;
    text << std::ifstream(prefix() + "/log").rdbuf();
    return text.str();
}

void writeFile(const String& path, const String& content) {
    std::ofstream(path, std::ios::trunc) << content;
}

int asUser(uid_t uid, const std::function<int()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(uid) != 0 || ::setuid(uid) != 0) {
            ::_exit(126);
        }
        int status = 125;
        try {
            status = action();
        } catch (...) {  // NOLINT(bugprone-empty-catch): the status reports it
        }
        ::_exit(status);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace KovTest
