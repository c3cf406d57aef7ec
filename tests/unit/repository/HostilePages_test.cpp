// SPDX-License-Identifier: Apache-2.0
//
// Pages whose checksums are right and whose links are not: an attacker who can write the repository
// file lists one page many times. Reading ends with an error soon, and memory stays small.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <chrono>

#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using RepositoryFormat::PAGE_SIZE;
using ::testing::HasSubstr;
constexpr size_t USABLE = PAGE_SIZE - RepositoryFormat::CHECKSUM_SIZE;
// The kinds of pages (https://www.sqlite.org/fileformat2.html#b_tree_pages).
constexpr char INTERIOR_INDEX = 2;
constexpr char LEAF_INDEX = 10;

String bigEndian(size_t number, int size) {
    String bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(number >> static_cast<unsigned>(shift)));
    }
    return bytes;
}

/// A page full of the same entry; of an interior page, all lead to the page `child`.
String indexPage(const String& record, size_t child) {
    const bool isLeaf = child == 0;
    const String cell =
        (isLeaf ? String() : bigEndian(child, 4)) + bigEndian(record.size(), 1) + record;
    const size_t head = isLeaf ? 8 : 12;
    const size_t count = (USABLE - head) / (cell.size() + 2);
    String page = String(1, isLeaf ? LEAF_INDEX : INTERIOR_INDEX) + bigEndian(0, 2) +
                  bigEndian(count, 2) + bigEndian(USABLE - count * cell.size(), 2) +
                  bigEndian(0, 1) + (isLeaf ? String() : bigEndian(child, 4));
    String cells;
    for (size_t i = 0; i < count; ++i) {
        cells = cell + cells;
        page += bigEndian(USABLE - cells.size(), 2);
    }
    page.resize(USABLE - cells.size());
    return page + cells + String(PAGE_SIZE - USABLE, '\0');
}

class HostilePages : public RepositoryTest {
protected:
    HostilePages() {
        const auto opened = openWithSchema();
        for (const char* name : {"a", "b", "c"}) {
            (*opened)->createInstance("test", person(name));
        }
        opened->repository().close();
    }

    /// Replaces the index by three levels of pages with entries of this record, some millions.
    void multiply(const String& index, const String& record) {
        const RepositoryDirectory directory(m_directory.path());
        sqlite3* database = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(directory.file().c_str(), &database,
                                             SQLITE_OPEN_READWRITE, CheckedFile::layerName()));
        const size_t root =
            number(database, "SELECT rootpage FROM sqlite_schema WHERE name='" + index + "'");
        const size_t pages = number(database, "PRAGMA page_count");
        sqlite3_file* file = nullptr;
        sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file);
        const auto write = [&](size_t page, const String& content) {
            EXPECT_EQ(SQLITE_OK,
                      file->pMethods->xWrite(file, content.data(), PAGE_SIZE,
                                             static_cast<sqlite3_int64>((page - 1) * PAGE_SIZE)));
        };
        write(pages + 1, indexPage(record, 0));
        write(pages + 2, indexPage(record, pages + 1));
        write(root, indexPage(record, pages + 2));
        String first(PAGE_SIZE, '\0');
        EXPECT_EQ(SQLITE_OK, file->pMethods->xRead(file, first.data(), PAGE_SIZE, 0));
        write(1, first.replace(28, 4, bigEndian(pages + 2, 4)));
        EXPECT_EQ(SQLITE_OK, file->pMethods->xSync(file, SQLITE_SYNC_NORMAL));
        sqlite3_close(database);
    }

    static size_t number(sqlite3* database, const String& sql) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr));
        EXPECT_EQ(SQLITE_ROW, sqlite3_step(statement));
        const auto found = static_cast<size_t>(sqlite3_column_int64(statement, 0));
        sqlite3_finalize(statement);
        return found;
    }

    size_t idOf(const String& table, const String& condition) {
        sqlite3* database = nullptr;
        const RepositoryDirectory directory(m_directory.path());
        EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(directory.file().c_str(), &database,
                                             SQLITE_OPEN_READONLY, CheckedFile::layerName()));
        const size_t id = number(database, "SELECT id FROM " + table + " WHERE " + condition);
        sqlite3_close(database);
        return id;
    }

    /// Expects an error that says that the file is damaged, and that it comes soon.
    void expectDamage(const std::function<void(RepositoryCIMOMHandle&)>& operation) {
        OpenRepository opened(m_directory.path());
        String message;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(CIMException::FAILED, statusOf([&] { operation(*opened); }, &message));
        EXPECT_THAT(message, HasSubstr(file()));
        EXPECT_THAT(message, HasSubstr("is damaged"));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    }
};

TEST_F(HostilePages, SubclassesThatGoOnForEverAreDamage) {
    const auto ns = static_cast<char>(idOf("namespace", "name='test'"));
    const auto cls = static_cast<char>(idOf("class", "name='person'"));
    // ns, super, spelling and id: three numbers of one byte, and a text of one.
    multiply("class_super", String{5, 1, 1, 15, 1, ns, cls, 'a', 9});
    expectDamage([](RepositoryCIMOMHandle& handle) { handle.enumInstancesA("test", "Person"); });
}

TEST_F(HostilePages, AnInstanceThatComesAgainIsDamage) {
    const auto cls = static_cast<char>(idOf("class", "name='person'"));
    const auto id = static_cast<char>(idOf("instance", "key LIKE '%b%'"));
    // class and id
    multiply("instance_class", String{3, 1, 1, cls, id});
    expectDamage([](RepositoryCIMOMHandle& handle) { handle.enumInstancesA("test", "Person"); });
}

}  // namespace
}  // namespace KovTest
