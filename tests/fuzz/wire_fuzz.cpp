// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the messages of root and of a stranger: the daemon's side of a connection, on a real
// repository, reads them all, ends, and the next client is served. The input is a sequence of
// messages.
#include <capnp/message.h>
#include <kj/async-io.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "openwbem/repository/CIMRepository.hpp"
#include "owcimomd/connections/ClientSession.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace {

using namespace OwCimomd;  // NOLINT(google-build-using-namespace)

/// A repository in a temporary directory that is removed when the process ends.
class Repository {
public:
    Repository() : m_directory(make()), m_repository(m_directory), m_operations(m_repository, {}) {
        m_repository.handle().createNameSpace("root");
        CIMQualifierType key("Key");
        key.setDataType(CIMDataType::BOOLEAN).setScopes(CIMScope::PROPERTY);
        m_repository.handle().setQualifierType("root", key);
        CIMProperty name("Name", CIMDataType::STRING);
        name.setQualifiers({CIMQualifier("Key", CIMValue(true))});
        CIMClass cls("P");
        m_repository.handle().createClass("root", cls.setProperties({name}));
        addInstance("x");
        // More than one answer holds.
        for (int i = 0; i < 600; ++i) {
            addInstance(String(1000, 'x') + std::to_string(i));
        }
        m_repository.handle().commit();
    }
    ~Repository() {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;
    Operations& operations() { return m_operations; }

private:
    static String make() {
        String name = (std::filesystem::temp_directory_path() / "wire-fuzz-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        CIMRepository::create(name);
        return name;
    }

    void addInstance(const String& name) {
        CIMInstance instance("P");
        instance.setProperty("Name", CIMValue(name));
        m_repository.handle().createInstance("root", instance);
    }

    String m_directory;
    ServedRepository m_repository;
    Operations m_operations;
};

/// Has the daemon's side read the bytes to their end.
void serve(const uint8_t* data, size_t size, const User& user) {
    static Repository repository;
    static kj::AsyncIoContext io = kj::setupAsyncIo();
    static RequestBudget budget(Configuration::LEAST_REQUEST_SIZE);
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0) {
        std::abort();
    }
    auto client = io.lowLevelProvider->wrapSocketFd(kj::AutoCloseFd(ends[1]));
    auto session = kj::heap<ClientSession>(kj::heap<PeerSocket>(io.unixEventPort, ends[0]),
                                           repository.operations(), user, budget);
    // Reads and drops the answers until the connection ends.
    kj::byte sink[4096];
    std::function<kj::Promise<void>()> drain = [&]() -> kj::Promise<void> {
        return client->tryRead(sink, 1, sizeof sink).then([&](size_t count) {
            return count == 0 ? kj::Promise<void>(kj::READY_NOW) : drain();
        });
    };
    auto reading = drain().eagerlyEvaluate([](kj::Exception&&) {});
    auto writing = client->write(data, size)
                       .then([&] { client->shutdownWrite(); }, [](kj::Exception&&) {})
                       .eagerlyEvaluate(nullptr);
    session->run().catch_([](kj::Exception&&) {}).wait(io.waitScope);
    session = nullptr;
    io.waitScope.poll();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    serve(data, size, {0, "root"});
    serve(data, size, {65534, "nobody"});
    return 0;
}
