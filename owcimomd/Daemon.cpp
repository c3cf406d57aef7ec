// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/Daemon.hpp"

#include <kj/async-unix.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "blocxx/Format.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "owcimomd/connections/Server.hpp"
#include "owcimomd/http/HttpServer.hpp"
#include "owcimomd/process/Account.hpp"
#include "owcimomd/process/Configuration.hpp"
#include "owcimomd/process/Confinement.hpp"
#include "owcimomd/process/Log.hpp"
#include "owcimomd/process/PidFile.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr std::chrono::seconds PING_TIME_LIMIT{10};

/// Nothing of whoever started it: not its directory, its signals, its rights.
void leaveCaller(const Layout::Tree& tree) {
    if (chdir("/") != 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot change to the directory \"/\"");
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGHUP, SIG_IGN);
    if (tree.isLive() && geteuid() == 0) {
        becomeAccount(Layout::ACCOUNT);
    }
    renounceNewPrivileges();
}

String repositoryOf(const Layout::Tree& tree, const Configuration& configuration) {
    return configuration.get(Configuration::DATADIR, tree.path(Layout::REPOSITORY));
}

StringArray writableDirectories(const Layout::Tree& tree, const Configuration& configuration) {
    StringArray directories{tree.path(Layout::DATA_DIRECTORY), repositoryOf(tree, configuration)};
    const String log = configuration.get(Configuration::LOG_FILE, String());
    if (!log.empty()) {
        // The daemon works in the root directory.
        directories.push_back((std::filesystem::path("/") / log).parent_path().string());
    }
    return directories;
}

HttpSettings httpSettings(const Layout::Tree& tree, Configuration& configuration) {
    HttpSettings settings;
    settings.address = configuration.get(Configuration::HTTP_ADDRESS, settings.address);
    settings.port = configuration.httpPort();
    settings.certificate = configuration.get(Configuration::TLS_CERTIFICATE, String());
    settings.key = configuration.get(Configuration::TLS_KEY, String());
    settings.passwordFile = tree.path(Layout::PASSWORD_FILE);
    return settings;
}

/// Null where the window is not configured, or cannot be opened: that must not keep local clients
/// from being served.
std::unique_ptr<HttpServer> openWindow(kj::AsyncIoContext& io, const HttpSettings& settings,
                                       Configuration& configuration, Operations& operations,
                                       RequestBudget& budget) {
    if (settings.port == 0) {
        return nullptr;
    }
    try {
        return std::make_unique<HttpServer>(io, settings, operations, budget);
    } catch (const blocxx::Exception& e) {
        configuration.complain(e.getMessage());
        reportError(e.getMessage());
        return nullptr;
    }
}

int serveUntilTold(const Layout::Tree& tree, Configuration& configuration, size_t maxRequest,
                   Log& log, const Ready& ready) {
    // Signals that come before the loop waits for them wait for it.
    kj::UnixEventPort::captureSignal(SIGHUP);
    kj::UnixEventPort::captureSignal(SIGTERM);
    kj::UnixEventPort::captureSignal(SIGINT);
    const PidFile pidFile(tree.path(Layout::PID_FILE));
    ServedRepository repository(repositoryOf(tree, configuration));
    {
        kj::AsyncIoContext io = kj::setupAsyncIo();
        Operations operations(repository, configuration.allowedUsers());
        RequestBudget budget(maxRequest);
        const HttpSettings settings = httpSettings(tree, configuration);
        Server server(io, tree.path(Layout::SOCKET), operations, budget,
                      settings.port == 0 ? 0 : HttpServer::MAX_CONNECTIONS);
        const auto window = openWindow(io, settings, configuration, operations, budget);
        confine(writableDirectories(tree, configuration));
        ready(configuration.complaints());
        reportInfo("ready");
        server.run([&log] { log.reopen(); });
    }
    try {
        repository.close();
    } catch (const blocxx::Exception& e) {
        reportError(Format("the repository could not be closed, and the next start will do it: %1",
                           e.getMessage()));
        return 1;
    }
    reportInfo("ended");
    return 0;
}

}  // namespace

int runDaemon(const Layout::Tree& tree, const String& configFile, bool foreground,
              const Ready& ready) {
    leaveCaller(tree);
    Configuration configuration;
    configuration.readFiles(configFile, configFile + ".d");
    Log log(configuration, foreground);
    const size_t maxRequest = configuration.maxRequestSize();
    for (const String& complaint : configuration.complaints()) {
        reportError(complaint);
    }
    try {
        return serveUntilTold(tree, configuration, maxRequest, log, ready);
    } catch (const blocxx::Exception& e) {
        reportError(e.getMessage());
        throw;
    } catch (const kj::Exception& e) {
        reportError(e.getDescription().cStr());
        BLOCXX_THROW(blocxx::Exception, e.getDescription().cStr());
    }
}

void pingDaemon(const Layout::Tree& tree) {
    const auto handle = OpenWBEM::ClientCIMOMHandle::createFromURL("owbinary.wbem://localhost:" +
                                                                   tree.path(Layout::SOCKET));
    handle->getWBEMProtocolHandler()->setTimeout(blocxx::Timeout::relative(PING_TIME_LIMIT));
    handle->ping();
}

}  // namespace OwCimomd
