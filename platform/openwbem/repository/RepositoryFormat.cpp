// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/RepositoryFormat.hpp"

#include <endian.h>

#include <cstring>

namespace OpenWBEM::RepositoryFormat {

// Columns called "name" hold names in lower case, for comparison; "spelling" is the name as given.
// The bodies are the last columns, so that the other columns are read without them. Every
// repository contains these texts, and they are compared to the letter: a changed one is another
// format.
const std::array<SchemaRow, 13> SCHEMA{{
    {"table", "namespace", "namespace", R"sql(CREATE TABLE namespace (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL UNIQUE,
  spelling TEXT NOT NULL
))sql"},
    {"table", "qualifier_type", "qualifier_type", R"sql(CREATE TABLE qualifier_type (
  id INTEGER PRIMARY KEY,
  ns INTEGER NOT NULL,
  name TEXT NOT NULL,
  body BLOB NOT NULL
))sql"},
    {"index", "qualifier_type_name", "qualifier_type",
     R"sql(CREATE UNIQUE INDEX qualifier_type_name ON qualifier_type (ns, name))sql"},
    {"table", "class", "class", R"sql(CREATE TABLE class (
  id INTEGER PRIMARY KEY,
  ns INTEGER NOT NULL,
  super INTEGER NOT NULL,
  name TEXT NOT NULL,
  spelling TEXT NOT NULL,
  body BLOB NOT NULL
))sql"},
    {"index", "class_name", "class", R"sql(CREATE UNIQUE INDEX class_name ON class (ns, name))sql"},
    {"index", "class_super", "class",
     R"sql(CREATE INDEX class_super ON class (ns, super, spelling))sql"},
    {"table", "class_reference", "class_reference", R"sql(CREATE TABLE class_reference (
  ns INTEGER NOT NULL,
  target TEXT NOT NULL,
  class INTEGER NOT NULL,
  role TEXT NOT NULL,
  PRIMARY KEY (ns, target, class, role)
) WITHOUT ROWID)sql"},
    {"index", "class_reference_class", "class_reference",
     R"sql(CREATE INDEX class_reference_class ON class_reference (class))sql"},
    {"table", "instance", "instance", R"sql(CREATE TABLE instance (
  id INTEGER PRIMARY KEY,
  ns INTEGER NOT NULL,
  class INTEGER NOT NULL,
  key TEXT NOT NULL,
  path BLOB NOT NULL,
  body BLOB NOT NULL
))sql"},
    {"index", "instance_key", "instance",
     R"sql(CREATE UNIQUE INDEX instance_key ON instance (ns, key))sql"},
    {"index", "instance_class", "instance",
     R"sql(CREATE INDEX instance_class ON instance (class))sql"},
    {"table", "reference", "reference", R"sql(CREATE TABLE reference (
  target TEXT NOT NULL,
  ns INTEGER NOT NULL,
  instance INTEGER NOT NULL,
  role TEXT NOT NULL,
  PRIMARY KEY (target, ns, instance, role)
) WITHOUT ROWID)sql"},
    {"index", "reference_instance", "reference",
     R"sql(CREATE INDEX reference_instance ON reference (instance))sql"},
}};

int32_t numberAt(std::string_view header, size_t at) {
    uint32_t number = 0;
    std::memcpy(&number, header.data() + at, sizeof number);
    return static_cast<int32_t>(be32toh(number));
}

// A new format is a new last row, with a step; the rows above keep the schemas that they have.
const std::array<KnownFormat, 1> KNOWN{{{VERSION, SCHEMA, nullptr}}};

}  // namespace OpenWBEM::RepositoryFormat
