// SPDX-License-Identifier: Apache-2.0
//
// A tree whose repository an older version has made and a product has used, and the schema of a
// newer version, which a test edits.
#pragma once

#include "tests/system/setup/SetupTree.hpp"

namespace KovSetupTest {

class UpgradeTree : public SetupTree {
protected:
    void SetUp() override;

    /// Replaces a text in a file of the new schema.
    void edit(const String& file, const String& from, const String& to) const;
    void append(const String& file, const String& text) const;
    /// Makes one change of each kind that can be brought in.
    void editAll() const;

    /// Runs kov-setup with the new schema.
    Outcome upgrade() const { return setUpTree(arguments()); }
    StringArray arguments() const { return {"--schema-dir", path("/schema")}; }
    /// Stores the content of a MOF text in a namespace of the repository.
    void store(const String& ns, const String& mof) const;
    /// Registers a product by hand: instances, a namespace of its own, classes and qualifier types.
    void addProduct() const;

    /// Everything that the repository holds, by namespace, kind and name.
    using Content = std::map<String, String>;
    Content content() const;
    String file() const { return repository() + "/repository.db"; }
    /// The line with which kov-setup ends.
    String ready() const { return "kov-setup: \"" + repository() + "\" is ready.\n"; }
};

}  // namespace KovSetupTest
