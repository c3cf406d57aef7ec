// SPDX-License-Identifier: Apache-2.0
//
// What compiling and storing a large schema costs, beside the least that it could cost: reading its
// tokens, and writing as many bytes in one synced transaction.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>

#include "MOFGrammar.hpp"
#include "bench/Corpus.hpp"
#include "openwbem/mof/Scanner.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace KovBench {
namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

std::unique_ptr<Corpus> g_corpus;

void setCounters(benchmark::State& state, size_t items) {
    state.SetBytesProcessed(
        static_cast<int64_t>(static_cast<size_t>(state.iterations()) * g_corpus->byteCount()));
    state.counters["items"] = static_cast<double>(items);
}

size_t countTokens(const MOF::Source& source) {
    MOF::SourceText text(source);
    MOF::Scanner scanner(text);
    OPENWBEM_MOF_STYPE value;
    size_t count = 0;
    while (scanner.next(value) != 0) {
        ++count;
    }
    return count;
}

void TokenPass(benchmark::State& state) {
    size_t tokens = 0;
    for (auto _ : state) {
        tokens = 0;
        for (const auto& source : g_corpus->sources()) {
            tokens += countTokens(source);
        }
        benchmark::DoNotOptimize(tokens);
    }
    setCounters(state, tokens);
}

void CompileToArrays(benchmark::State& state) {
    size_t objects = 0;
    for (auto _ : state) {
        const auto content = g_corpus->compile();
        objects = content.classes.size() + content.qualifierTypes.size();
        benchmark::DoNotOptimize(objects);
    }
    setCounters(state, objects);
}

Array<String> storedForms() {
    const auto content = g_corpus->compile();
    Array<String> blobs;
    for (const auto& type : content.qualifierTypes) {
        blobs.push_back(Codec::encode(type));
    }
    for (const auto& cls : content.classes) {
        blobs.push_back(Codec::encode(cls));
    }
    return blobs;
}

void check(int result, sqlite3* database) {
    if (result != SQLITE_OK && result != SQLITE_DONE) {
        throw std::runtime_error(sqlite3_errmsg(database));
    }
}

void insertSynced(const String& path, const Array<String>& blobs) {
    sqlite3* database = nullptr;
    check(sqlite3_open(path.c_str(), &database), database);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> closer(database, &sqlite3_close);
    check(sqlite3_exec(database,
                       "PRAGMA synchronous=FULL; BEGIN;"
                       "CREATE TABLE objects(id INTEGER PRIMARY KEY, data BLOB)",
                       nullptr, nullptr, nullptr),
          database);
    sqlite3_stmt* insert = nullptr;
    check(sqlite3_prepare_v2(database, "INSERT INTO objects(data) VALUES(?)", -1, &insert, nullptr),
          database);
    for (const auto& blob : blobs) {
        check(sqlite3_bind_blob64(insert, 1, blob.data(), blob.size(), SQLITE_STATIC), database);
        check(sqlite3_step(insert), database);
        check(sqlite3_reset(insert), database);
    }
    check(sqlite3_finalize(insert), database);
    check(sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr), database);
}

void SyncedInsert(benchmark::State& state) {
    const auto blobs = storedForms();
    const String path = std::filesystem::current_path().string() + "/synced-insert.db";
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::remove(path);
        state.ResumeTiming();
        insertSynced(path, blobs);
    }
    std::filesystem::remove(path);
    size_t bytes = 0;
    for (const auto& blob : blobs) {
        bytes += blob.size();
    }
    state.counters["items"] = static_cast<double>(blobs.size());
    state.counters["bytes"] = static_cast<double>(bytes);
}

BENCHMARK(TokenPass)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(CompileToArrays)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(SyncedInsert)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
}  // namespace KovBench

int main(int argc, char* argv[]) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::cerr << "usage: schema_bench DIRECTORY_OF_THE_SCHEMA [--benchmark_...]\n";
        return 2;
    }
    try {
        KovBench::g_corpus = std::make_unique<KovBench::Corpus>(argv[1]);
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& e) {
        std::cerr << "schema_bench: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
