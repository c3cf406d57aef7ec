// SPDX-License-Identifier: Apache-2.0
//
// What the way through the daemon costs: the same operations on a repository opened directly and
// through a connection. A direct handle commits once, the daemon with every call.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
namespace fs = std::filesystem;

constexpr uint32_t INSTANCES = 10000;

/// A tree below the working directory, so that it is on a disk, with a class P in "root".
class Tree {
public:
    Tree() {
        fs::remove_all(prefix());
        fs::create_directories(repository());
        fs::create_directories(prefix() + "/etc/opt/tarvo/kov/openwbem");
        CIMRepository::create(repository());
        const OpenRepository opened(repository());
        RepositoryCIMOMHandle& handle = *opened;
        handle.createNameSpace("root");
        CIMQualifierType key("Key");
        key.setDataType(CIMDataType::BOOLEAN).setScopes(CIMScope::PROPERTY);
        handle.setQualifierType("root", key);
        CIMProperty name("Name", CIMDataType::STRING);
        name.setQualifiers({CIMQualifier("Key", CIMValue(true))});
        CIMClass cls("P");
        cls.setProperties({name, CIMProperty("Users", CIMDataType::array(CIMDataType::STRING))});
        handle.createClass("root", cls);
        opened.repository().close();
    }
    ~Tree() { fs::remove_all(prefix()); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    static String prefix() { return fs::current_path().string() + "/bench-tree"; }
    static String state() { return prefix() + "/var/opt/tarvo/kov/openwbem"; }
    static String repository() { return state() + "/repository"; }
};

class Daemon {
public:
    Daemon() : m_pid(::fork()) {
        if (m_pid == 0) {
            ::execl(KOV_OWCIMOMD, KOV_OWCIMOMD, "--foreground", "--config", "/dev/null",
                    "--dest-dir", Tree::prefix().c_str(), nullptr);
            ::_exit(127);
        }
        m_handle = ClientCIMOMHandle::createFromURL("owbinary.wbem://localhost:" + Tree::state() +
                                                    "/owcimomd.sock");
        for (int i = 0; i < 1000; ++i) {
            try {
                m_handle->ping();
                return;
            } catch (const CIMException&) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        }
        throw std::runtime_error("the daemon does not answer");
    }
    ~Daemon() {
        ::kill(m_pid, SIGTERM);
        ::waitpid(m_pid, nullptr, 0);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;
    CIMOMHandleIFC& handle() { return *m_handle; }

private:
    pid_t m_pid;
    ClientCIMOMHandleRef m_handle;
};

void createInstances(CIMOMHandleIFC& handle) {
    for (uint32_t i = 0; i < INSTANCES; ++i) {
        CIMInstance instance("P");
        instance.setProperty("Name", CIMValue("product" + std::to_string(i)));
        instance.setProperty("Users", CIMValue::array<String>({"alice", "bob"}));
        handle.createInstance("root", instance);
    }
}

/// 10,000 instances, committed once.
void BM_DirectCreateInstance(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        const Tree tree;
        const OpenRepository opened(Tree::repository());
        state.ResumeTiming();
        createInstances(*opened);
        opened.repository().close();
    }
}
BENCHMARK(BM_DirectCreateInstance)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(10);

/// The same through the daemon, each committed by itself.
void BM_ClientCreateInstance(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        const Tree tree;
        auto daemon = std::make_unique<Daemon>();
        state.ResumeTiming();
        createInstances(daemon->handle());
        state.PauseTiming();
        daemon.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ClientCreateInstance)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(10);

void BM_DirectEnumInstances(benchmark::State& state) {
    const Tree tree;
    const OpenRepository opened(Tree::repository());
    createInstances(*opened);
    for (auto _ : state) {
        benchmark::DoNotOptimize(opened->enumInstancesA("root", "P"));
    }
    opened.repository().close();
}
BENCHMARK(BM_DirectEnumInstances)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ClientEnumInstances(benchmark::State& state) {
    const Tree tree;
    Daemon daemon;
    createInstances(daemon.handle());
    for (auto _ : state) {
        benchmark::DoNotOptimize(daemon.handle().enumInstancesA("root", "P"));
    }
}
BENCHMARK(BM_ClientEnumInstances)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
