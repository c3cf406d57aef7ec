// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/CIMCodec.hpp"

#include <capnp/message.h>
#include <capnp/serialize.h>

#include <array>
#include <cstring>

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/wire/CIMDecoder.hpp"
#include "openwbem/wire/CIMEncoder.hpp"
#include "openwbem/wire/ValueForms.hpp"

namespace OpenWBEM::Codec {

namespace {

/// How often a message may be traversed: once, plus what the library counts twice. Only a hostile
/// message has more pointers to the same place.
constexpr uint64_t TRAVERSALS = 4;
constexpr uint64_t TRAVERSAL_SLACK_WORDS = 1024;

/// The memory that a decoded argument may take. No honest argument comes near.
constexpr uint64_t UNPACKED_TIMES = 4;
constexpr uint64_t UNPACKED_SLACK = uint64_t(16) << 20U;

/// Large enough for the message of nearly every object.
constexpr size_t SCRATCH_WORDS = 4096;

/// Zeroed before and after each message; used by one message at a time.
kj::ArrayPtr<capnp::word> scratch() {
    static thread_local std::array<uint64_t, SCRATCH_WORDS> words{};
    static_assert(sizeof(uint64_t) == sizeof(capnp::word));
    return {reinterpret_cast<capnp::word*>(words.data()), words.size()};
}

/// Fills a string that grows: one of the right size would be cleared before it is filled.
class StringStream : public kj::OutputStream {
public:
    explicit StringStream(size_t size) { m_bytes.reserve(size); }
    void write(const void* bytes, size_t size) override {
        m_bytes.append(static_cast<const char*>(bytes), size);
    }
    String take() { return std::move(m_bytes); }

private:
    String m_bytes;
};

String toBytes(capnp::MessageBuilder& message) {
    StringStream out(capnp::computeSerializedSizeInWords(message) * sizeof(capnp::word));
    capnp::writeMessage(out, message);
    return out.take();
}

template <class Struct, class... Args>
String encodeAs(const Args&... args) {
    try {
        capnp::MallocMessageBuilder message(scratch());
        Encoder().put(message.initRoot<Struct>(), args...);
        return toBytes(message);
    } catch (const kj::Exception& e) {
        BLOCXX_THROW(CodecException,
                     blocxx::Format("the object cannot be encoded: %1", e.getDescription().cStr()));
    }
}

capnp::ReaderOptions readerOptions(size_t words) {
    capnp::ReaderOptions options;
    options.traversalLimitInWords = TRAVERSALS * words + TRAVERSAL_SLACK_WORDS;
    options.nestingLimit = static_cast<int>(MAX_OBJECT_DEPTH * POINTERS_PER_OBJECT);
    return options;
}

/// Cap'n Proto reads aligned words: copies bytes that are not aligned.
class AlignedWords {
public:
    explicit AlignedWords(Bytes bytes) {
        const size_t words = bytes.size() / sizeof(capnp::word);
        if (reinterpret_cast<uintptr_t>(bytes.data()) % alignof(capnp::word) == 0) {
            m_words = kj::arrayPtr(reinterpret_cast<const capnp::word*>(bytes.data()), words);
            return;
        }
        m_copy = kj::heapArray<capnp::word>(words);
        std::memcpy(m_copy.begin(), bytes.data(), words * sizeof(capnp::word));
        m_words = m_copy;
    }
    kj::ArrayPtr<const capnp::word> get() const { return m_words; }

private:
    kj::Array<capnp::word> m_copy;
    kj::ArrayPtr<const capnp::word> m_words;
};

template <class Struct>
auto decodeAs(Bytes bytes, Decoder decoder = Decoder()) {
    try {
        const AlignedWords words(bytes);
        capnp::FlatArrayMessageReader message(words.get(), readerOptions(words.get().size()));
        if (bytes.size() % sizeof(capnp::word) != 0 || message.getEnd() != words.get().end()) {
            BLOCXX_THROW(CodecException, "the message has another length than it says");
        }
        return decoder.get(message.getRoot<Struct>());
    } catch (const kj::Exception& e) {
        BLOCXX_THROW(CodecException,
                     blocxx::Format("not a well-formed message: %1", e.getDescription().cStr()));
    } catch (const CIMException& e) {
        BLOCXX_THROW(CodecException, blocxx::Format("not a valid CIM object: %1", e.getMessage()));
    }
}

/// For an object from an untrusted sender.
template <class Struct>
auto decodeArgumentAs(Bytes bytes) {
    return decodeAs<Struct>(
        bytes, Decoder(Decoder::Names::UNCHECKED, UNPACKED_TIMES * bytes.size() + UNPACKED_SLACK));
}

}  // namespace

String encode(const CIMClass& cls) {
    return encodeAs<wire::Class>(cls, Encoder::Form::DECLARED);
}
String encode(const CIMInstance& instance) {
    return encodeAs<wire::Instance>(instance);
}
String encode(const CIMQualifierType& qualifierType) {
    return encodeAs<wire::QualifierType>(qualifierType);
}
String encode(const CIMObjectPath& path) {
    return encodeAs<wire::ObjectPath>(path);
}

String encodeView(const CIMClass& cls) {
    return encodeAs<wire::Class>(cls, Encoder::Form::WHOLE);
}
String encodeView(const CIMInstance& instance) {
    return encodeAs<wire::InstanceView>(instance);
}

CIMClass decodeClass(Bytes bytes) {
    return decodeAs<wire::Class>(bytes);
}
CIMClass decodeClassArgument(Bytes bytes) {
    return decodeArgumentAs<wire::Class>(bytes);
}
CIMInstance decodeInstanceArgument(Bytes bytes) {
    return decodeArgumentAs<wire::InstanceView>(bytes);
}
CIMQualifierType decodeQualifierTypeArgument(Bytes bytes) {
    return decodeArgumentAs<wire::QualifierType>(bytes);
}
CIMObjectPath decodeObjectPathArgument(Bytes bytes) {
    return decodeArgumentAs<wire::ObjectPath>(bytes);
}

CIMInstance decodeInstance(Bytes bytes) {
    return decodeAs<wire::Instance>(bytes);
}
CIMInstance decodeInstanceView(Bytes bytes) {
    return decodeAs<wire::InstanceView>(bytes);
}
CIMQualifierType decodeQualifierType(Bytes bytes) {
    return decodeAs<wire::QualifierType>(bytes);
}
CIMObjectPath decodeObjectPath(Bytes bytes) {
    return decodeAs<wire::ObjectPath>(bytes);
}

}  // namespace OpenWBEM::Codec
