// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpSettings.hpp"

#include <fcntl.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstring>
#include <memory>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "owcimomd/http/SocketAddress.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr auto HANDSHAKE_TIME = 10 * kj::SECONDS;
constexpr size_t MAX_PEM_SIZE = size_t(1) << 20U;

[[noreturn]] void refuse(const String& reason) {
    BLOCXX_THROW(blocxx::Exception, Format("nobody is served over HTTP: %1", reason));
}

[[noreturn]] void refusePair(const HttpSettings& settings, const char* reason) {
    refuse(Format("the certificate \"%1\" and the key \"%2\" cannot be used: %3",
                  settings.certificate, settings.key, reason));
}

SocketAddress addressOf(const HttpSettings& settings) {
    const auto address = SocketAddress::parse(settings.address, settings.port);
    if (!address) {
        refuse(Format("\"%1\" as %2 is not an IP address", settings.address,
                      Configuration::HTTP_ADDRESS));
    }
    if (!address->isLoopback() && settings.certificate.empty()) {
        refuse(Format("the address %1 needs TLS, so %2 and %3 must be set", settings.address,
                      Configuration::TLS_CERTIFICATE, Configuration::TLS_KEY));
    }
    return *address;
}

String contentOf(const char* key, const String& path) {
    blocxx::File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    String content;
    if (!file || !blocxx::FileSystem::readAll(file, content, MAX_PEM_SIZE)) {
        refuse(Format("the file \"%1\" (%2) cannot be read: %3", path, key, std::strerror(errno)));
    }
    return content;
}

template <auto FREE>
struct Deleter {
    template <class T>
    void operator()(T* object) const {
        FREE(object);
    }
};

/// Whether the first certificate is of the key. KJ takes any two, and then no client can connect.
bool belongTogether(const String& certificate, const String& key) {
    const auto reading = [](const String& text) {
        return std::unique_ptr<BIO, Deleter<BIO_free>>(
            BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    };
    const std::unique_ptr<X509, Deleter<X509_free>> x509(
        PEM_read_bio_X509(reading(certificate).get(), nullptr, nullptr, nullptr));
    const std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>> pkey(
        PEM_read_bio_PrivateKey(reading(key).get(), nullptr, nullptr, nullptr));
    return x509 && pkey && X509_check_private_key(x509.get(), pkey.get()) == 1;
}

}  // namespace

kj::Own<kj::TlsContext> tlsOf(const HttpSettings& settings, kj::Timer& timer) {
    if (settings.certificate.empty() && settings.key.empty()) {
        return {};
    }
    if (settings.certificate.empty() || settings.key.empty()) {
        refuse(Format("%1 and %2 must be set both or not at all", Configuration::TLS_CERTIFICATE,
                      Configuration::TLS_KEY));
    }
    const String certificate = contentOf(Configuration::TLS_CERTIFICATE, settings.certificate);
    const String key = contentOf(Configuration::TLS_KEY, settings.key);
    try {
        const kj::TlsKeypair keypair{kj::TlsPrivateKey(kj::StringPtr(key.c_str())),
                                     kj::TlsCertificate(kj::StringPtr(certificate.c_str()))};
        if (!belongTogether(certificate, key)) {
            refusePair(settings, "they do not belong together");
        }
        kj::TlsContext::Options options;
        options.defaultKeypair = keypair;
        options.useSystemTrustStore = false;
        options.minVersion = kj::TlsVersion::TLS_1_2;
        options.timer = timer;
        options.acceptTimeout = HANDSHAKE_TIME;
        return kj::heap<kj::TlsContext>(kj::mv(options));
    } catch (const kj::Exception& e) {
        refusePair(settings, e.getDescription().cStr());
    }
}

kj::Own<kj::ConnectionReceiver> listenAt(kj::AsyncIoContext& io, const HttpSettings& settings) {
    const SocketAddress address = addressOf(settings);
    try {
        return io.provider->getNetwork().getSockaddr(&address, sizeof address)->listen();
    } catch (const kj::Exception& e) {
        refuse(Format("it cannot listen at %1, port %2: %3", settings.address, settings.port,
                      e.getDescription().cStr()));
    }
}

}  // namespace OwCimomd
