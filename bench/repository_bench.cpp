// SPDX-License-Identifier: Apache-2.0
//
// What the repository costs: storing a schema (compare BM_SyncedBlobInsert of storage_bench),
// opening, and the operations that listings are made of.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/repository/OpenRepository.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

const char* const TOP_FILE = KOV_MOF_CORPUS "/dmtf-cim-2.41/cim_schema_2.41.0.mof";
constexpr uint32_t INSTANCES = 1000;

/// A repository below the working directory, so that it is on a disk.
class Repository {
public:
    Repository() {
        std::filesystem::remove_all("bench-repository");
        std::filesystem::create_directory("bench-repository");
        CIMRepository::create("bench-repository");
        open();
    }
    ~Repository() {
        m_opened->repository().close();
        std::filesystem::remove_all("bench-repository");
    }
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    void open() { m_opened.emplace("bench-repository"); }
    RepositoryCIMOMHandle& operator*() { return **m_opened; }
    RepositoryCIMOMHandle* operator->() { return &**m_opened; }

private:
    std::optional<OpenRepository> m_opened;
};

void load(RepositoryCIMOMHandle& handle, const MOF::NamespaceContent& content) {
    handle.createNameSpace("root");
    for (const auto& type : content.qualifierTypes) {
        handle.setQualifierType("root", type);
    }
    for (const auto& cls : content.classes) {
        handle.createClass("root", cls);
    }
    handle.commit();
}

const MOF::NamespaceContent& schema() {
    static const Array<MOF::NamespaceContent> compiled =
        MOF::compile(MOF::includeFile(TOP_FILE, ""), {}, "root", MOF::includeFile);
    return compiled.at(0);
}

/// Stores the compiled schema in a new repository, committed and synced.
void BM_LoadSchema(benchmark::State& state) {
    schema();
    for (auto _ : state) {
        state.PauseTiming();
        auto repository = std::make_unique<Repository>();
        state.ResumeTiming();
        load(**repository, schema());
        state.PauseTiming();
        repository.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_LoadSchema)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(1);

void BM_EnumSchemaClasses(benchmark::State& state) {
    Repository repository;
    load(*repository, schema());
    for (auto _ : state) {
        repository.open();
        size_t count = 0;
        auto receiver = makeResultHandler<CIMClass>([&](const CIMClass&) { ++count; });
        repository->enumClass("root", "", receiver, E_DEEP, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                              E_INCLUDE_CLASS_ORIGIN);
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(BM_EnumSchemaClasses)->Unit(benchmark::kMillisecond);

/// Encoding alone, of all classes.
void BM_EncodeSchema(benchmark::State& state) {
    size_t bytes = 0;
    for (auto _ : state) {
        bytes = 0;
        for (const auto& cls : schema().classes) {
            bytes += Codec::encode(cls).size();
        }
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_EncodeSchema)->Unit(benchmark::kMillisecond);

void addInstances(RepositoryCIMOMHandle& handle) {
    MOF::NamespaceContent content =
        MOF::compile({"bench",
                      "Qualifier Key : boolean = false, Scope(property, reference), "
                      "Flavor(DisableOverride);"
                      "Qualifier Association : boolean = false, Scope(association);"
                      "class P { [Key] string Name; string Users[]; uint32 Number; };"
                      "[Association] class L { [Key] P REF A; [Key] P REF B; };"},
                     {}, "root", {})
            .at(0);
    load(handle, content);
    CIMObjectPath first;
    for (uint32_t i = 0; i < INSTANCES; ++i) {
        CIMInstance instance("P");
        instance.setProperty("Name", CIMValue("product" + std::to_string(i)));
        instance.setProperty("Users", CIMValue::array<String>({"alice", "bob"}));
        const CIMObjectPath path = handle.createInstance("root", instance);
        first = i == 0 ? path : first;
        CIMInstance link("L");
        link.setProperty("A", CIMValue(first)).setProperty("B", CIMValue(path));
        handle.createInstance("root", link);
    }
    handle.commit();
}

/// Opens the repository and lists the names of 1,000 instances.
void BM_OpenAndEnumInstanceNames(benchmark::State& state) {
    Repository repository;
    addInstances(*repository);
    for (auto _ : state) {
        repository.open();
        benchmark::DoNotOptimize(repository->enumInstanceNamesA("root", "P"));
    }
}
BENCHMARK(BM_OpenAndEnumInstanceNames)->Unit(benchmark::kMicrosecond);

void BM_EnumInstances(benchmark::State& state) {
    Repository repository;
    addInstances(*repository);
    for (auto _ : state) {
        benchmark::DoNotOptimize(repository->enumInstancesA("root", "P"));
    }
}
BENCHMARK(BM_EnumInstances)->Unit(benchmark::kMicrosecond);

void BM_GetInstance(benchmark::State& state) {
    Repository repository;
    addInstances(*repository);
    const CIMObjectPath path = CIMObjectPath("P").setKeyValue("Name", CIMValue("product500"));
    for (auto _ : state) {
        benchmark::DoNotOptimize(repository->getInstance(
            "root", path, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, nullptr));
    }
}
BENCHMARK(BM_GetInstance)->Unit(benchmark::kMicrosecond);

/// One associated object, with 1,000 associations in the repository.
void BM_Associators(benchmark::State& state) {
    Repository repository;
    addInstances(*repository);
    const CIMObjectPath path = CIMObjectPath("P").setKeyValue("Name", CIMValue("product500"));
    for (auto _ : state) {
        benchmark::DoNotOptimize(repository->associatorsA("root", path, {"L", "P", "", ""}));
    }
}
BENCHMARK(BM_Associators)->Unit(benchmark::kMicrosecond);

void BM_CreateInstances(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto repository = std::make_unique<Repository>();
        state.ResumeTiming();
        addInstances(**repository);
        state.PauseTiming();
        repository.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_CreateInstances)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
