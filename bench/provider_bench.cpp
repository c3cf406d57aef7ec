// SPDX-License-Identifier: Apache-2.0
//
// The least that registering providers could cost, for bench/providers.py:
//
//   provider_bench REPOSITORY TEXTS ROW_SIZES
//
// compiles every registration and provider MOF of the directory TEXTS (NAME.reg and NAME.mof)
// against the repository, creates as many files as the tool does with the contents that they get,
// and inserts rows of the sizes that the file ROW_SIZES lists into a new database, in one
// transaction that is on the disk when it ends. Prints the quickest milliseconds of each.
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>

#include "blocxx/FileSystem.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
namespace fs = std::filesystem;

constexpr int REPETITIONS = 5;

struct Texts {
    explicit Texts(const char* directory) {
        for (const auto& file : fs::directory_iterator(directory)) {
            const String text = blocxx::FileSystem::getFileContents(file.path().string());
            const auto kind = file.path().extension();
            (kind == ".reg" ? registrations : kind == ".mof" ? mofs : privileges).push_back(text);
        }
    }
    StringArray registrations;
    StringArray mofs;
    StringArray privileges;
};

/// A directory for the `number`th run of something. Nothing is removed before the end: for a minute
/// after that, ext4 takes long to create files.
fs::path scratch(const fs::path& parent, const char* purpose, int number) {
    fs::path directory = parent / "scratch" / (purpose + std::to_string(number));
    fs::create_directories(directory);
    return directory;
}

double quickest(const std::function<void(int)>& prepare, const std::function<void()>& work) {
    double best = 0;
    for (int i = 0; i < REPETITIONS; ++i) {
        prepare(i);
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - start;
        best = i == 0 ? taken.count() : std::min(best, taken.count());
    }
    return best;
}

void compile(const Texts& texts, const CIMOMHandleIFCRef& handle) {
    for (const auto& [list, ns] :
         {std::pair(&texts.registrations, "root"), std::pair(&texts.mofs, "sample")}) {
        for (const String& text : *list) {
            Array<CIMInstance> instances;
            Array<CIMClass> classes;
            Array<CIMQualifierType> qualifierTypes;
            MOF::compileMOF(text, handle, ns, instances, classes, qualifierTypes);
        }
    }
}

void createFile(const fs::path& path, const String& text) {
    blocxx::File file = blocxx::FileSystem::createFile(path.string());
    if (file.write(text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        file.close() != 0) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

/// Two for each provider: its own privileges, and those to start it.
void createFiles(const Texts& texts, const fs::path& directory) {
    const String start =
        "monitored_exec_check_args { /usr/lib/sample/provider  @ oop1-sample_p0000 }\n";
    for (size_t i = 0; i < texts.privileges.size(); ++i) {
        createFile(directory / ("oop1-" + std::to_string(i)), texts.privileges[i]);
        createFile(directory / ("start-" + std::to_string(i)), start);
    }
}

void insertRows(const std::vector<int>& sizes, const fs::path& path) {
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    const auto check = [&](int result) {
        if (result != SQLITE_OK && result != SQLITE_DONE) {
            throw std::runtime_error(sqlite3_errmsg(database));
        }
    };
    check(sqlite3_open(path.c_str(), &database));
    check(sqlite3_exec(database,
                       "PRAGMA synchronous=FULL; BEGIN;"
                       "CREATE TABLE objects(id INTEGER PRIMARY KEY, data BLOB)",
                       nullptr, nullptr, nullptr));
    check(sqlite3_prepare_v2(database, "INSERT INTO objects(data) VALUES(?)", -1, &statement,
                             nullptr));
    const int largest = sizes.empty() ? 0 : *std::max_element(sizes.begin(), sizes.end());
    const String data(static_cast<size_t>(largest), 'x');
    for (const int size : sizes) {
        check(sqlite3_bind_blob(statement, 1, data.data(), size, SQLITE_STATIC));
        check(sqlite3_step(statement));
        check(sqlite3_reset(statement));
    }
    sqlite3_finalize(statement);
    check(sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr));
    sqlite3_close(database);
}

int measure(const char* repositoryDirectory, const char* textDirectory, const char* sizesFile) {
    const Texts texts(textDirectory);
    std::vector<int> sizes;
    std::ifstream list(sizesFile);
    for (int size = 0; list >> size;) {
        sizes.push_back(size);
    }

    const OpenRepository opened(repositoryDirectory);
    const double compiled = quickest([](int) {}, [&] { compile(texts, opened.handle()); });

    const fs::path parent = fs::path(sizesFile).parent_path();
    fs::path place;
    const double created = quickest([&](int i) { place = scratch(parent, "files", i); },
                                    [&] { createFiles(texts, place); });
    const double inserted = quickest([&](int i) { place = scratch(parent, "rows", i); },
                                     [&] { insertRows(sizes, place / "rows.db"); });
    std::printf("%f %f %f\n", created, compiled, inserted);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: provider_bench REPOSITORY TEXTS ROW_SIZES\n");
        return 2;
    }
    try {
        return measure(argv[1], argv[2], argv[3]);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
