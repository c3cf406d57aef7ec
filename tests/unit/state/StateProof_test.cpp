// SPDX-License-Identifier: Apache-2.0
//
// A state that could not be restored is not saved: the save says why, and an earlier file stays.
// Damage that the repository or a registration would refuse is written around their checks.
#include "fennik/state/StateProof.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/state/StateFormat.hpp"
#include "openwbem/repository/RepositoryStore.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

class StateProving : public StateFixture {
protected:
    /// Expects that saving is refused and leaves the earlier file. Returns the message.
    String refusal(OpenRepository& repository) {
        writeFile(file(), "earlier state");
        String message;
        try {
            save(repository);
            ADD_FAILURE() << "saved";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 36) << e.getMessage();
            message = e.getMessage();
        }
        EXPECT_EQ(readFile(file()), "earlier state");
        return message;
    }

    static void addProduct(OpenRepository& repository, const String& name,
                           const StringArray& users) {
        CIMInstance product = repository.handle()->getClass("kov", "KOV_Product").newInstance();
        product.setProperty("Name", CIMValue(name));
        product.setProperty("Usernames", CIMValue::array<String>(users));
        repository.handle()->createInstance("kov", product);
    }

    static void removeUnguarded(OpenRepository& repository, const String& ns,
                                const String& className) {
        RepositoryStore& store = repository.repository().store();
        WriteOperation operation(store);
        const int64_t id = store.namespaces.require(ns).id;
        store.classes.remove(id, store.classes.require(id, className, CIMException::FAILED));
        operation.done();
    }

    /// The message about a Product element of "sample" with that child; empty when it is accepted.
    String proofOf(const XMLNode& child) {
        OpenRepository repository(m_tree);
        XMLNode product(StateFormat::PRODUCT);
        product.addChild(child);
        try {
            StateProof::prove(product, "sample", repository.handle());
            return {};
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 36);
            return e.getMessage();
        }
    }
    String proofOfMof(const String& mof, const String& ns = "sample") {
        XMLNode contents(StateFormat::PRODUCT_INSTANCES);
        XMLNode content(StateFormat::NAMESPACE_INSTANCES);
        content.addChild(createNamedNode(StateFormat::NAME, ns));
        content.addChild(createNamedNode(StateFormat::INSTANCE_MOF, mof));
        contents.addChild(content);
        return proofOf(contents);
    }
};

constexpr const char* HOLDERS =
    "Qualifier EmbeddedObject : boolean = false, Scope(property);\n"
    "class S_Part { [Key] string Id; };\n"
    "class S_Holder { [Key] string Id; [EmbeddedObject] string Any; };\n"
    "instance of S_Holder { Id = \"a\"; };\n"
    "instance of S_Holder { Id = \"b\"; Any = \"instance of S_Part { Id = \\\"x\\\"; };\"; };\n"
    "instance of S_Holder { Id = \"c\"; };\n";

TEST_F(StateProving, InstanceThatDoesNotCompileIsNamedWithTheCommandThatMendsIt) {
    OpenRepository repository(m_tree);
    registerOne(repository, "good", {"alice"}, {"good"});
    registerOne(repository, "sample", {"alice"}, {"sample"});
    load(repository, "sample", HOLDERS);
    EXPECT_NO_THROW(save(repository));
    removeUnguarded(repository, "sample", "S_Part");
    const String message = refusal(repository);
    EXPECT_TRUE(message.starts_with(
        "The state of product \"sample\" cannot be saved: the instance sample:S_Holder.Id=\"b\" "
        "could not be restored: MOF:"))
        << message;
    EXPECT_NE(message.find("unknown class \"S_Part\""), String::npos) << message;
    EXPECT_TRUE(message.ends_with(
        "^\nDelete it (owdeleteinstance 'sample:S_Holder.Id=\"b\"') or give it values that fit its "
        "class, then save again."))
        << message;
    repository.handle()->deleteInstance("sample", CIMObjectPath::parse("sample:S_Holder.Id=\"b\""));
    EXPECT_NO_THROW(save(repository));
}

TEST_F(StateProving, ClassThatDoesNotCompileIsNamed) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"}, {"sample"});
    load(repository, "sample", HOLDERS);
    load(repository, "sample",
         "class S_Early { };\n[Description(\"d\")] class S_With { [Key] string Id; "
         "[EmbeddedObject] string Any = \"instance "
         "of S_Other { };\"; };\nclass S_Other { };\n");
    EXPECT_NO_THROW(save(repository));
    removeUnguarded(repository, "sample", "S_Other");
    const String message = refusal(repository);
    EXPECT_TRUE(
        message.starts_with("The state of product \"sample\" cannot be saved: the class "
                            "sample:S_With could not be restored: MOF:"))
        << message;
    EXPECT_TRUE(
        message.ends_with("\nDeclare it anew in a form that can be compiled (owmofc -n "
                          "sample), then save again."))
        << message;
}

TEST_F(StateProving, EveryObjectIsFoundByTheLineThatFails) {
    const String good =
        "#pragma namespace(\"sample\")\nQualifier A : boolean = true,\n    Scope(any);\n\n"
        "class S\n{\n    uint8 X;\n};\n\n";
    EXPECT_EQ(proofOfMof(good), "");
    const struct {
        String mof;
        const char* named;
    } rows[] = {
        {"#pragma namespace(\"sample\")\nQualifier A : nothing = true,\n    Scope(any);\n\n",
         "the qualifier type sample:A"},
        {good + "Qualifier B : boolean = 7,\n    Scope(any);\n\n", "the qualifier type sample:B"},
        {good + "[No]\nclass T\n{\n};\n\n", "the class sample:T"},
        {good + "[A]\nclass T : No\n{\n};\n\n", "the class sample:T"},
        {good + "class T\n{\n    [No]\n    uint8 class;\n};\n\nclass U\n{\n};\n\n",
         "the class sample:T"},
        {"#pragma namespace(\"other\")\n", "the namespace sample"},
    };
    for (const auto& row : rows) {
        const String message = proofOfMof(row.mof);
        EXPECT_NE(message.find(String("cannot be saved: ") + row.named + " could not be restored"),
                  String::npos)
            << message;
    }
}

TEST_F(StateProving, NamespaceIsCompiledAgainstItselfAlone) {
    const String message = proofOfMof("class S : KOV_Product\n{\n};\n\n", "kov");
    EXPECT_NE(message.find("unknown superclass \"KOV_Product\""), String::npos) << message;
}

TEST_F(StateProving, TextThatTheRepairWouldChangeIsRefused) {
    const String mof = "class S\n{\n    [Key]\n    string Process;\n};\n\n";
    EXPECT_EQ(
        proofOfMof("// a\r\n" + mof),
        "The state of product \"sample\" cannot be saved: the content of its namespace sample "
        "would be read as another");
    const String repairable = mof + "instance of S\n{\n    Process = \"Name = x;\";\n};\n\n";
    EXPECT_NE(proofOfMof(repairable, "zeb/SoftwareMeteringAgent").find("would be read as another"),
              String::npos);
}

TEST_F(StateProving, ProviderWhoseRegistrationDoesNotCompileIsNamed) {
    const auto provider = [&](const String& mof, const String& instanceName) {
        XMLNode providers(StateFormat::REGISTERED_PROVIDERS);
        XMLNode node(StateFormat::OOP1_PROVIDER_REGISTRATION);
        for (const char* name :
             {StateFormat::PROVIDER_MOF_NAMESPACE, StateFormat::PROVIDER_CLASSNAME,
              StateFormat::PROVIDER_PRIVILEGES, StateFormat::PROVIDER_OOPI_PRIVILEGES,
              StateFormat::PROVIDER_QUALIFIERS, StateFormat::PROVIDER_CLASSES}) {
            node.addChild(XMLNode(name));
        }
        XMLNode mofs(StateFormat::REGISTRATION_INSTANCES);
        mofs.addChild(createNamedNode(StateFormat::INSTANCE_MOF, mof));
        node.addChild(mofs);
        XMLNode instances(StateFormat::PROVIDER_INSTANCES);
        instances.addChild(createNamedNode(StateFormat::NAME, instanceName));
        node.addChild(instances);
        providers.addChild(node);
        return proofOf(providers);
    };
    EXPECT_EQ(provider(registrationMof("disk"), "sample:S.Id=\"x\""), "");
    const String unknown =
        provider("instance of No_Registration\n{\n    InstanceID = \"sample:disk\";\n};\n",
                 "sample:S.Id=\"x\"");
    EXPECT_TRUE(
        unknown.starts_with("The state of product \"sample\" cannot be saved: its provider "
                            "\"sample:disk\" could not be registered again: MOF:1:13: "
                            "error: unknown class \"No_Registration\""))
        << unknown;
    EXPECT_TRUE(
        unknown.ends_with("\nRegister the providers of the product anew "
                          "(--register-providers), then save again."))
        << unknown;
    const String path = provider(registrationMof("disk"), "no path");
    EXPECT_NE(path.find("could not be registered again: "), String::npos) << path;
}

TEST_F(StateProving, NamesThatWouldNotComeBackAreRefused) {
    const struct {
        const char* product;
        const char* user;
        const char* fault;
    } rows[] = {
        {"sam.allowed_users", "alice",
         "its name ends in \".allowed_users\", which is for the files of allowed users"},
        {"p ", "alice", "its name begins or ends with white space"},
        {"\tp", "alice", "its name begins or ends with white space"},
        {"p\n", "alice", "its name begins or ends with white space"},
        {" p ", "alice", "its name begins or ends with white space"},
        {"p", "alice ", "its user \"alice \" begins or ends with white space"},
        {"p", "\nalice", "its user \"\nalice\" begins or ends with white space"},
        {"p", "al\tice", "its user \"al\tice\" has a control character in it"},
        {"p", "", "its user \"\" is empty"},
    };
    for (const auto& row : rows) {
        const StagedTree tree;
        OpenRepository repository(tree);
        addProduct(repository, row.product, {"bob", row.user});
        EXPECT_EQ(refusal(repository),
                  "The state of product \"" + String(row.product) +
                      "\" cannot be saved: " + row.fault +
                      ", so it could not be restored. Deregister the product, or what has that "
                      "name, and register it under another one.");
    }
}

TEST_F(StateProving, UserOfANamespaceThatWouldNotComeBackIsRefused) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"}, {"sample"});
    CIMInstance access =
        repository.handle()->getClass("root/security", "OpenWBEM_UserACL").newInstance();
    access.setProperty("nspace", CIMValue("sample"));
    access.setProperty("username", CIMValue("alice "));
    access.setProperty("capability", CIMValue("rR"));
    repository.handle()->createInstance("root/security", access);
    const String message = refusal(repository);
    EXPECT_NE(message.find("product \"sample\" cannot be saved: its user \"alice \" begins or "
                           "ends with white space"),
              String::npos)
        << message;
}

}  // namespace
}  // namespace KOVNS2::Testing
