# SPDX-License-Identifier: Apache-2.0
#
# The objects of the CIM model as they are stored in the repository and sent between processes.
# Messages are unpacked. Fields may be added, never renumbered or given another meaning; a change
# that older readers would misread needs a new format number of the repository
# (docs/repository-format.md).

@0xbd5d0f2f8a1c7e43;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("OpenWBEM::wire");

# The numbers of CIMDataType::Type.
enum Type {
  invalid @0;
  boolean @1;
  uint8 @2;
  sint8 @3;
  uint16 @4;
  sint16 @5;
  uint32 @6;
  sint32 @7;
  uint64 @8;
  sint64 @9;
  real32 @10;
  real64 @11;
  char16 @12;
  string @13;
  datetime @14;
  reference @15;
  embeddedInstance @16;
  embeddedClass @17;
}

# One value of a type, or an array. A null value has no Value at all: the pointer is null.
struct Value {
  type @0 :Type;
  isArray @1 :Bool;
  union {
    boolean @2 :Bool;
    unsigned @3 :UInt64;           # uint8 to uint64, char16
    signed @4 :Int64;              # sint8 to sint64
    real32 @5 :Float32;
    real64 @6 :Float64;
    text @7 :Text;                 # string, datetime
    reference @8 :ObjectPath;
    instance @9 :Instance;
    class @10 :Class;
    booleans @11 :List(Bool);
    bytes @12 :Data;               # uint8[]
    unsigneds @13 :List(UInt64);
    signeds @14 :List(Int64);
    real32s @15 :List(Float32);
    real64s @16 :List(Float64);
    texts @17 :List(Text);
    references @18 :List(ObjectPath);
    instances @19 :List(Instance);
    classes @20 :List(Class);
  }
  nulls @21 :List(Bool);           # empty, or one for each element of the array
}

# A property of an instance, or a key of a path.
struct NamedValue {
  name @0 :Text;
  type @1 :Type;
  isArray @2 :Bool;
  isKey @3 :Bool;
  propagated @4 :Bool;
  arraySize @5 :UInt32;
  value @6 :Value;
  refClass @7 :Text;
}

struct Qualifier {
  name @0 :Text;
  value @1 :Value;
  notOverridable @2 :Bool;
  restricted @3 :Bool;
  translatable @4 :Bool;
  propagated @5 :Bool;
}

struct QualifierType {
  name @0 :Text;
  type @1 :Type;
  isArray @2 :Bool;
  arraySize @3 :UInt32;
  refClass @4 :Text;
  default @5 :Value;
  scopes @6 :UInt8;
  notOverridable @7 :Bool;
  restricted @8 :Bool;
  translatable @9 :Bool;
}

struct Property {
  name @0 :Text;
  type @1 :Type;
  isArray @2 :Bool;
  isKey @3 :Bool;
  propagated @4 :Bool;
  arraySize @5 :UInt32;
  refClass @6 :Text;
  value @7 :Value;
  qualifiers @8 :List(Qualifier);
  classOrigin @9 :Text;
}

struct Parameter {
  name @0 :Text;
  type @1 :Type;
  isArray @2 :Bool;
  arraySize @3 :UInt32;
  refClass @4 :Text;
  qualifiers @5 :List(Qualifier);
}

# A method has the return type where the others have their type.
struct Method {
  name @0 :Text;
  type @1 :Type;
  isArray @2 :Bool;
  propagated @3 :Bool;
  arraySize @4 :UInt32;
  refClass @5 :Text;
  parameters @6 :List(Parameter);
  qualifiers @7 :List(Qualifier);
  classOrigin @8 :Text;
}

struct Class {
  name @0 :Text;
  superClass @1 :Text;
  qualifiers @2 :List(Qualifier);
  properties @3 :List(Property);
  methods @4 :List(Method);
}

struct Instance {
  className @0 :Text;
  properties @1 :List(NamedValue);
  qualifiers @2 :List(Qualifier);
}

struct ObjectPath {
  host @0 :Text;
  nameSpace @1 :Text;
  className @2 :Text;
  keys @3 :List(NamedValue);
}

# An instance as an operation hands it out, with what its properties have from its class. Only sent,
# never stored.
struct InstanceView {
  instance @0 :Instance;
  fromClass @1 :List(FromClass);   # empty, or one for each property
}

struct FromClass {
  qualifiers @0 :List(Qualifier);
  classOrigin @1 :Text;
}
