// SPDX-License-Identifier: Apache-2.0
//
// Names in a state file that a registration would refuse.
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2::Testing {
namespace {

class StateNames : public StateFixture {};

TEST_F(StateNames, ThatCannotBeRegisteredAreToldWithTheirProductBeforeAnythingIs) {
    const struct {
        const char* product;
        const char* user;
        const char* fault;
    } rows[] = {
        {"sam.allowed_users", "alice",
         "its name ends in \".allowed_users\", which is for the files of allowed users"},
        {"p ", "alice", "its name begins or ends with white space"},
        {" p", "alice", "its name begins or ends with white space"},
        {"p", "alice ", "its user \"alice \" begins or ends with white space"},
        {"p", "\talice", "its user \"\talice\" begins or ends with white space"},
        {"p", "al\tice", "its user \"al\tice\" has a control character in it"},
        {"p", "", "its user \"\" is empty"},
        {"a/b", "alice", "its name has a slash in it"},
    };
    for (const auto& row : rows) {
        expectRefused(document(productElement("first", {"alice"}) +
                               productElement(row.product, {"bob", row.user})),
                      12,
                      "The product \"" + String(row.product) +
                          "\" of the saved state cannot be restored: " + row.fault +
                          ". Correct the name in the state file, or take the product out of it.");
        EXPECT_TRUE(newFiles().empty());
    }
    expectRefused(
        document(productElement(
            "p", {}, element("NamespaceRegistration", namespaceElement("p", {"a=rR", " b=rwRW"})))),
        12,
        "The product \"p\" of the saved state cannot be restored: its user \" b\" begins "
        "or ends with white space. Correct the name in the state file, or take the product out of "
        "it.");
}

TEST_F(StateNames, MayHaveLineBreaksAroundThemForTheLayoutOfTheFile) {
    EXPECT_EQ(restore(document(productElement("\n      p\n    ", {"\n alice\n", "\r\n\tbob\n"}))),
              "Restoring product registration from KOV version 1\n"
              "Restoring product registration for p\n");
    EXPECT_EQ(readFile(usersFile("p")), "owcimomd.allowed_users = alice bob\n");
}

}  // namespace
}  // namespace KOVNS2::Testing
