# SPDX-License-Identifier: Apache-2.0
#
# What a client and the daemon say to each other over the local socket. Objects travel as messages
# of cim.capnp inside of these, in the form in which the repository stores them: each is checked and
# bounded by itself, and the daemon need not take apart what it only hands on.
#
# A failure of an operation is data. An exception of the RPC layer means that the connection itself
# does not work.

@0xa4e1cbb6a3f2d5c9;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("OpenWBEM::wire");

enum Operation {
  enumClasses @0;
  enumClassNames @1;
  getClass @2;
  createClass @3;
  modifyClass @4;
  deleteClass @5;
  enumInstances @6;
  enumInstanceNames @7;
  getInstance @8;
  createInstance @9;
  modifyInstance @10;
  deleteInstance @11;
  getQualifierType @12;
  enumQualifierTypes @13;
  setQualifierType @14;
  deleteQualifierType @15;
  associators @16;
  associatorNames @17;
  references @18;
  referenceNames @19;
  associatorsClasses @20;
  referencesClasses @21;
}

# An operation with its arguments; those that it does not have are left out.
struct Request {
  operation @0 :Operation;
  nameSpace @1 :Text;
  name @2 :Text;                   # of a class or a qualifier type
  object @3 :Data;                 # a Class, InstanceView, QualifierType or ObjectPath of cim.capnp
  deep @4 :Bool;
  localOnly @5 :Bool;
  includeQualifiers @6 :Bool;
  includeClassOrigin @7 :Bool;
  hasPropertyList @8 :Bool;        # without one: all properties
  propertyList @9 :List(Text);
  assocClass @10 :Text;
  resultClass @11 :Text;
  role @12 :Text;
  resultRole @13 :Text;
}

# Why an operation failed: a CIM status code (DSP0200 5.2.6) and a text.
struct Failure {
  code @0 :UInt16;                 # 0: it has not failed
  message @1 :Text;
}

# A portion of an enumeration: names as UTF-8, everything else as messages of cim.capnp.
struct Portion {
  objects @0 :List(Data);
  isLast @1 :Bool;
}

interface ObjectManager {
  # Whether somebody is there. Anybody may ask.
  ping @0 () -> ();
  # An operation with at most one result, which is committed when the answer is sent.
  carryOut @1 (request :Request) -> (failure :Failure, object :Data);
  # An enumeration: its first portion and, when that is not the last one, where the others are.
  enumerate @2 (request :Request) -> (failure :Failure, portion :Portion, rest :Cursor);
}

# An enumeration that is under way. It goes when the client lets go of it or is gone.
interface Cursor {
  next @0 () -> (failure :Failure, portion :Portion);
}
