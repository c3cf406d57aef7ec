# SPDX-License-Identifier: Apache-2.0
#
# What a client and the daemon say to each other over the local socket. Objects travel as messages
# of cim.capnp inside of these, in the form in which the repository stores them: each is checked and
# bounded by itself, and the daemon need not take apart what it only hands on.
#
# A connection carries messages in the standard framing, calls one way and answers the other. Each
# call is a question and an answer and nothing else: references to remote objects, as Cap'n Proto's
# own RPC layer has them, would make three messages of each call and cost more than most operations.
# Whatever is not such a message ends the connection.

@0xa4e1cbb6a3f2d5c9;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("OpenWBEM::wire");

# The operations of a handle, in the order and with the names of openwbem/model/Operation.hpp.
enum Operation {
  enumClass @0;
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

# Objects of one namespace, to be created, or changed where they exist, in that order. Of many the daemon
# stores as many as other clients can wait for, at least one, and says how many; of those all or none.
struct Storing {
  nameSpace @0 :Text;
  qualifierTypes @1 :List(Data);   # messages of cim.capnp: QualifierType,
  classes @2 :List(Data);          # Class, what it declares itself
  instances @3 :List(Data);        # and InstanceView
}

# Why an operation failed: a CIM status code (DSP0200 5.2.6) and a text.
struct Failure {
  code @0 :UInt16;                 # 0: it has not failed
  message @1 :Text;
  index @2 :UInt32;                # which object of a Storing, counted through its lists
}

# A portion of an enumeration: names as UTF-8, everything else as messages of cim.capnp.
struct Portion {
  objects @0 :List(Data);
  isLast @1 :Bool;
}

# From the client to the daemon. Calls are carried out and answered in the order in which they come;
# a client may send the next one before it has read an answer.
struct Call {
  id @0 :UInt64;                   # comes back in the answer; not 0
  union {
    ping @1 :Void;                 # Is somebody there? Anybody may ask.
    carryOut @2 :Request;          # An operation with at most one result.
    enumerate @3 :Request;         # An enumeration: answered with its first portion.
    next @4 :UInt32;               # The next portion of the enumeration of that number.
    leave @5 :UInt32;              # Ends it before its time. Not answered.
    sync @6 :Void;                 # Makes everything that was answered before durable.
    store @7 :Storing;             # Stores many objects at once.
  }
}

# From the daemon to the client. What was changed is committed when the answer is sent: it outlives
# the daemon's process, and after a sync the machine's power, too. An answer with the id 0 is to no call: it says why the daemon ends the connection.
struct Answer {
  id @0 :UInt64;
  failure @1 :Failure;
  object @2 :Data;                 # the result of an operation
  portion @3 :Portion;
  enumeration @4 :UInt32;          # its number, when the portion is not the last one
  stored @5 :UInt32;               # how many objects of a Storing, from its beginning
}
