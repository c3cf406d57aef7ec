// SPDX-License-Identifier: Apache-2.0
//
// The least that storing a schema could cost: its objects in their stored form, inserted into a new
// database in one transaction that is on the disk when it ends.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>
#include <stdexcept>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

const char* const TOP_FILE = KOV_MOF_CORPUS "/dmtf-cim-2.41/cim_schema_2.41.0.mof";

Array<String> storedForms() {
    Array<String> blobs;
    for (const auto& content :
         MOF::compile(MOF::includeFile(TOP_FILE, ""), {}, "root", MOF::includeFile)) {
        for (const auto& type : content.qualifierTypes) {
            blobs.push_back(Codec::encode(type));
        }
        for (const auto& cls : content.classes) {
            blobs.push_back(Codec::encode(cls));
        }
    }
    return blobs;
}

class Database {
public:
    explicit Database(const String& path) { check(sqlite3_open(path.c_str(), &m_database)); }
    ~Database() { sqlite3_close(m_database); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void execute(const char* sql) {
        check(sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr));
    }

    void insert(const Array<String>& blobs) {
        sqlite3_stmt* statement = nullptr;
        check(sqlite3_prepare_v2(m_database, "INSERT INTO objects(data) VALUES(?)", -1, &statement,
                                 nullptr));
        const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(statement,
                                                                               &sqlite3_finalize);
        for (const auto& blob : blobs) {
            check(sqlite3_bind_blob64(statement, 1, blob.data(), blob.size(), SQLITE_STATIC));
            check(sqlite3_step(statement));
            check(sqlite3_reset(statement));
        }
    }

private:
    void check(int result) {
        if (result != SQLITE_OK && result != SQLITE_DONE) {
            throw std::runtime_error(sqlite3_errmsg(m_database));
        }
    }

    sqlite3* m_database = nullptr;
};

void insertSynced(const String& path, const Array<String>& blobs) {
    Database database(path);
    database.execute(
        "PRAGMA synchronous=FULL; BEGIN;"
        "CREATE TABLE objects(id INTEGER PRIMARY KEY, data BLOB)");
    database.insert(blobs);
    database.execute("COMMIT");
}

void BM_SyncedInsert(benchmark::State& state) {
    const auto blobs = storedForms();
    const String path = std::filesystem::current_path().string() + "/synced-insert.db";
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::remove(path);
        ::sync();
        state.ResumeTiming();
        insertSynced(path, blobs);
    }
    std::filesystem::remove(path);
    const auto addSize = [](size_t sum, const String& blob) { return sum + blob.size(); };
    state.counters["blobs"] = static_cast<double>(blobs.size());
    state.counters["bytes"] =
        static_cast<double>(std::accumulate(blobs.begin(), blobs.end(), size_t{0}, addSize));
}

}  // namespace

// As often, one by one and with nothing left to write as the load that it is compared with.
BENCHMARK(BM_SyncedInsert)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(12)
    ->UseRealTime();

int main(int argc, char** argv) {
    if (!std::filesystem::exists(TOP_FILE)) {
        std::printf("skipped: the DMTF schema is not at %s\n", TOP_FILE);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
