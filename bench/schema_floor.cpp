// SPDX-License-Identifier: Apache-2.0
//
// Measures a lower bound for the cost of loading a schema:
//
//   schema_floor TOP_FILE DATABASE
//
// Scans the texts of the schema, which are in memory, and inserts its encoded objects into a new
// database, in one synced transaction. Prints the shortest time of each, in seconds.
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/Parser.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

constexpr int ROUNDS = 10;

/// The texts of the schema in the order of compilation, and its objects as they are stored.
struct Schema {
    explicit Schema(const String& topFile) {
        const Source top = MOF::includeFile(topFile, "");
        texts.push_back(std::make_unique<SourceText>(top));
        const auto include = [this](const String& name, const String& from) {
            Source source = MOF::includeFile(name, from);
            texts.push_back(std::make_unique<SourceText>(source));
            return source;
        };
        for (const auto& content : MOF::compile(top, {}, "root", include)) {
            for (const auto& type : content.qualifierTypes) {
                objects.push_back(Codec::encode(type));
            }
            for (const auto& cls : content.classes) {
                objects.push_back(Codec::encode(cls));
            }
        }
    }
    Array<std::unique_ptr<SourceText>> texts;
    Array<String> objects;
};

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;
using Statement = std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)>;

void check(bool succeeded, const Database& database) {
    if (!succeeded) {
        throw std::runtime_error(sqlite3_errmsg(database.get()));
    }
}

void execute(const Database& database, const char* sql) {
    check(sqlite3_exec(database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK, database);
}

void insertSynced(const String& path, const Array<String>& objects) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(path.c_str(), &opened);
    const Database database(opened, &sqlite3_close);
    check(result == SQLITE_OK, database);
    execute(database,
            "PRAGMA synchronous=FULL; BEGIN;"
            "CREATE TABLE objects(id INTEGER PRIMARY KEY, data BLOB)");
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(opened, "INSERT INTO objects(data) VALUES(?)", -1, &prepared, nullptr);
    Statement statement(prepared, &sqlite3_finalize);
    for (const String& object : objects) {
        sqlite3_bind_blob64(prepared, 1, object.data(), object.size(), SQLITE_STATIC);
        check(sqlite3_step(prepared) == SQLITE_DONE, database);
        sqlite3_reset(prepared);
    }
    statement.reset();
    execute(database, "COMMIT");
}

double quickest(const std::function<void()>& prepare, const std::function<void()>& work) {
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < ROUNDS; ++i) {
        prepare();
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        least = std::min(least, taken.count());
    }
    return least;
}

void measure(const String& topFile, const String& path) {
    const Schema schema(topFile);
    size_t tokens = 0;
    const double scanned = quickest([] {},
                                    [&] {
                                        for (const auto& text : schema.texts) {
                                            tokens += MOF::countTokens(*text);
                                        }
                                    });
    if (tokens == 0 || schema.objects.empty()) {
        throw std::runtime_error(topFile + " declares nothing");
    }
    const auto clear = [&] {
        std::filesystem::remove(path);
        ::sync();  // so that nothing else is left to write
    };
    const double inserted = quickest(clear, [&] { insertSynced(path, schema.objects); });
    std::filesystem::remove(path);
    std::printf("%f %f\n", scanned, inserted);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: schema_floor TOP_FILE DATABASE\n");
        return 2;
    }
    try {
        measure(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
