// SPDX-License-Identifier: Apache-2.0
//
// Any damage to the files of a repository, which is then read whole and changed as a tool of root
// does: everything ends with a CIMException at the worst. Damage that the checksums of the pages or
// of the log must notice is an error or does no harm. The first byte of the input says what the
// rest is:
//
//   d   edits of the repository file
//   s   the same, after which the checksums of the pages are made again
//   j   edits of the journal of a run that was killed
//   w   edits of the log of a daemon that was killed
//   q   SQL that changes the repository file
//
// An edit is a place in three bytes, little-endian, a length in one byte, and as many bytes that
// are put there. The length 0 cuts the file off at the place.
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>

#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

// Nothing here must survive a power cut, and syncing would take most of the time.
extern "C" int fsync(int) {
    return 0;
}
extern "C" int fdatasync(int) {
    return 0;
}

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

constexpr const char* JOURNAL = "-journal";
constexpr const char* LOG = "-wal";

/// The content of the files of a repository by the endings of their names.
using Files = std::map<String, String>;

[[noreturn]] void find(const char* what, const String& text) {
    std::fprintf(stderr, "%s:\n%s\n", what, text.c_str());
    std::abort();
}

void check(int code) {
    if (code != SQLITE_OK) {
        find("SQLite", sqlite3_errstr(code));
    }
}

/// The repository file as the account may change it, past all that protects a tool.
class Database {
public:
    explicit Database(const String& file) {
        check(sqlite3_open_v2(file.c_str(), &m_database, SQLITE_OPEN_READWRITE,
                              CheckedFile::layerName()));
    }
    ~Database() { sqlite3_close(m_database); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    int execute(const String& sql) {
        return sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr);
    }

    /// Ends a statement that takes long or makes much.
    void limit() {
        constexpr int MOST_STEPS = 50000;
        constexpr int LONGEST = 100000;
        sqlite3_limit(m_database, SQLITE_LIMIT_LENGTH, LONGEST);
        sqlite3_limit(m_database, SQLITE_LIMIT_ATTACHED, 0);
        sqlite3_progress_handler(
            m_database, MOST_STEPS, [](void*) { return 1; }, nullptr);
    }

    /// Writes these pages with checksums.
    void write(const String& pages) {
        using RepositoryFormat::PAGE_SIZE;
        sqlite3_file* file = nullptr;
        check(sqlite3_file_control(m_database, "main", SQLITE_FCNTL_FILE_POINTER, &file));
        for (size_t at = 0; at + PAGE_SIZE <= pages.size(); at += PAGE_SIZE) {
            check(file->pMethods->xWrite(file, pages.data() + at, PAGE_SIZE,
                                         static_cast<sqlite3_int64>(at)));
        }
        check(file->pMethods->xSync(file, SQLITE_SYNC_NORMAL));
    }

private:
    sqlite3* m_database = nullptr;
};

/// A directory for repositories, and the files that the inputs damage.
class Scene {
public:
    Scene() {
        CIMRepository::create(m_directory.path());
        fill();
        m_plain = read();
        makeInterrupted();
        makeServed();
    }

    void put(const Files& files) const {
        for (const char* ending : {"", JOURNAL, LOG}) {
            m_open.remove(ending);
        }
        for (const auto& [ending, content] : files) {
            std::ofstream(path() + ending, std::ios::binary) << content;
        }
    }

    const Files& plain() const { return m_plain; }
    /// With the journal of a run that was killed.
    const Files& interrupted() const { return m_interrupted; }
    /// With the log of a daemon that was killed.
    const Files& served() const { return m_served; }
    /// The content of `plain`.
    const String& content() const { return *m_contents.begin(); }
    /// Whether that is the content after some of the commits in the log, or before all of them.
    bool isSome(const String& content) const {
        return std::find(m_contents.begin(), m_contents.end(), content) != m_contents.end();
    }

    const String directory() const { return m_directory.path(); }
    String path() const { return directory() + "/" + CIMRepository::FILE_NAME; }
    Database database() const { return Database(m_open.file()); }

private:
    void fill() {
        OpenRepository opened(directory());
        KovTest::addSchema(*opened);
        for (uint32_t i = 0; i < 12; ++i) {
            const String name = "p" + std::to_string(i);
            opened->createInstance("test", KovTest::person(name));
            opened->createInstance("test", KovTest::car(i));
            opened->createInstance("test",
                                   KovTest::owns(KovTest::personPath(name), KovTest::carPath(i)));
        }
        // Needs pages of its own.
        CIMInstance large = KovTest::person("large");
        large.setProperty("Note", CIMValue(String(10000, 'x')));
        opened->createInstance("test", large);
        m_contents.push_back(KovTest::dump(*opened));
        opened.repository().close();
    }

    void makeInterrupted() {
        Database changing(m_open.file());
        // With so small a cache, changed pages are written before the commit.
        check(
            changing.execute("PRAGMA cache_size=2; PRAGMA synchronous=NORMAL; BEGIN;"
                             "DELETE FROM instance WHERE id % 2; UPDATE class SET super=7;"
                             "INSERT INTO instance SELECT id+100,ns,class,key||'x',path,"
                             "zeroblob(3000) FROM instance LIMIT 8"));
        m_interrupted = read();
        if (m_interrupted.at(JOURNAL).empty() || m_interrupted.at("") == m_plain.at("")) {
            find("the run that was killed", "has changed nothing");
        }
    }

    void makeServed() {
        put(m_plain);
        OpenRepository opened(directory(), RepositoryUse::SERVED);
        for (uint32_t i = 100; i < 103; ++i) {
            opened->createInstance("test", KovTest::car(i));
            opened.repository().commit();
            m_contents.push_back(KovTest::dump(*opened));
        }
        m_served = read();
        if (m_served.at(LOG).empty()) {
            find("the daemon that was killed", "has left no log");
        }
    }

    Files read() const {
        Files files;
        for (const char* ending : {"", JOURNAL, LOG}) {
            if (std::ifstream in(path() + ending, std::ios::binary); in) {
                files[ending] = String(std::istreambuf_iterator<char>(in), {});
            }
        }
        return files;
    }

    KovTest::TemporaryDirectory m_directory;
    RepositoryDirectory m_open{m_directory.path()};
    Files m_plain;
    Files m_interrupted;
    Files m_served;
    StringArray m_contents;
};

void edit(String& file, std::string_view edits) {
    constexpr size_t HEAD = 4;
    while (edits.size() >= HEAD && !file.empty()) {
        const auto byte = [&](size_t i) { return size_t{static_cast<unsigned char>(edits[i])}; };
        const size_t place = (byte(0) | byte(1) << 8U | byte(2) << 16U) % file.size();
        const size_t length = std::min({byte(3), edits.size() - HEAD, file.size() - place});
        if (byte(3) == 0) {
            file.resize(place);
        }
        file.replace(place, length, edits.substr(HEAD, length));
        edits.remove_prefix(HEAD + length);
    }
}

/// Whether the operation succeeded; fails only as an operation of a repository may.
bool attempt(const std::function<void()>& operation) {
    try {
        operation();
        return true;
    } catch (const CIMException& e) {
        if (e.getMessage()[0] == '\0') {
            find("no message", e.type());
        }
        return false;
    }
}

void readClass(RepositoryCIMOMHandle& handle, const String& cls) {
    attempt([&] { handle.enumInstancesA("test", cls); });
    attempt([&] { handle.enumInstanceNamesA("test", cls); });
    attempt([&] {
        handle.enumClassA("test", cls, E_DEEP, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                          E_INCLUDE_CLASS_ORIGIN);
    });
    for (const char* other : {"", "Person", "Owns"}) {
        AssociationFilter filter;
        filter.resultClass = other;
        auto classes = makeResultHandler<CIMClass>([](const CIMClass&) {});
        attempt([&] { handle.associatorsClasses("test", CIMObjectPath(cls), classes, filter); });
        auto names = makeResultHandler<CIMObjectPath>([](const CIMObjectPath&) {});
        attempt(
            [&] { handle.associatorNames("test", KovTest::personPath("p2", cls), names, filter); });
    }
}

void change(RepositoryCIMOMHandle& handle, const String& cls) {
    attempt([&] { handle.createInstance("test", KovTest::person("new", cls)); });
    attempt([&] { handle.modifyInstance("test", KovTest::person("p1", cls)); });
    attempt([&] { handle.deleteInstance("test", KovTest::personPath("p1", cls)); });
    attempt([&] { handle.createClass("test", KovTest::makeClass("New", cls, {})); });
    attempt([&] {
        handle.modifyClass(
            "test", KovTest::makeClass(cls, "Root", {KovTest::property("More", CIMValue(true))}));
    });
    attempt([&] { handle.deleteClass("test", cls); });
}

/// Reads everything and changes much. Returns what was read, or none when that failed.
std::optional<String> use(const Scene& scene) {
    std::optional<String> content;
    attempt([&] {
        OpenRepository opened(scene.directory());
        attempt([&] { content = KovTest::dump(*opened); });
        for (const char* cls : {"Root", "Person", "Student", "Owns"}) {
            readClass(*opened, cls);
            change(*opened, cls);
        }
        attempt([&] { opened->deleteQualifierType("test", "Description"); });
        attempt([&] {
            opened->setQualifierType(
                "test", KovTest::qualifierType("Abstract", CIMDataType::BOOLEAN, CIMScope::ANY));
        });
        attempt([&] { opened->deleteNameSpace("test"); });
        opened.repository().close();
    });
    return content;
}

/// The plain files with edits in the one of this ending.
Files edited(Files files, const char* ending, std::string_view edits) {
    edit(files.at(ending), edits);
    return files;
}

void checkEdits(const Scene& scene, char kind, std::string_view edits) {
    if (kind == 'j') {
        scene.put(edited(scene.interrupted(), JOURNAL, edits));
    } else if (kind == 'w') {
        scene.put(edited(scene.served(), LOG, edits));
    } else {
        scene.put(edited(scene.plain(), "", edits));
    }
    const std::optional<String> content = use(scene);
    const bool isRight = !content || (kind == 'd' ? *content == scene.content()
                                                  : kind != 'w' || scene.isSome(*content));
    if (!isRight || (edits.empty() && !content)) {
        find("not the data", *content);
    }
}

void checkSealed(const Scene& scene, std::string_view edits) {
    const Files files = edited(scene.plain(), "", edits);
    scene.put(files);
    scene.database().write(files.at(""));
    use(scene);
}

void checkSql(const Scene& scene, const String& sql) {
    scene.put(scene.plain());
    {
        Database database = scene.database();
        database.limit();
        database.execute(sql);
    }
    use(scene);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Scene& scene = *new Scene;  // NOLINT(cppcoreguidelines-owning-memory): as the process
    if (size == 0) {
        return 0;
    }
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0]) {
        case 'd':
        case 'j':
        case 'w':
            checkEdits(scene, static_cast<char>(data[0]), rest);
            break;
        case 's':
            checkSealed(scene, rest);
            break;
        case 'q':
            checkSql(scene, String(rest));
            break;
        default:
            break;
    }
    return 0;
}
