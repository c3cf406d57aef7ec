// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/Request.hpp"

#include "openwbem/cimxml/MessageReader.hpp"

namespace OpenWBEM::CIMXML {

namespace {

using Fault = RequestException::Fault;

/// Reads the call and the elements around it.
class RequestReader {
public:
    explicit RequestReader(std::string_view document)
        : m_message(document), m_reader(m_message.xml()) {}

    Request read() {
        try {
            m_message.open(m_request.id, m_request.protocolVersion);
            if (m_reader.is("MULTIREQ")) {
                m_reader.fail(Fault::MULTIPLE_REQUESTS,
                              "several requests in one are not supported");
            }
            if (!m_reader.is("SIMPLEREQ")) {
                m_reader.misplaced();
            }
            simpleRequest();
            if (!m_request.isExtrinsic) {
                m_message.close();
            }
        } catch (const ContentException& e) {
            m_request.failure.emplace(__FILE__, __LINE__, CIMException::INVALID_PARAMETER,
                                      e.getMessage());
        }
        return std::move(m_request);
    }

private:
    /// The content of SIMPLEREQ.
    void simpleRequest() {
        m_message.goTo("IMETHODCALL");
        while (m_reader.is("CORRELATOR")) {
            m_reader.expect("VALUE");
            m_reader.text();
            m_reader.end();
            m_message.goTo("IMETHODCALL");
        }
        m_request.isExtrinsic = m_reader.is("METHODCALL");
        if (!m_request.isExtrinsic && !m_reader.is("IMETHODCALL")) {
            m_reader.misplaced();
        }
        m_request.method = m_reader.required("NAME");
        if (m_request.isExtrinsic) {
            extrinsicCall();
        } else {
            intrinsicCall();
            m_reader.end();
        }
    }

    /// The path in METHODCALL.
    void extrinsicCall() {
        m_message.goTo("LOCALCLASSPATH");
        if (!m_reader.is("LOCALCLASSPATH") && !m_reader.is("LOCALINSTANCEPATH")) {
            m_reader.misplaced();
        }
        m_request.ns = within("object of", m_request.method,
                              [&] { return m_message.decoder().path().getNameSpace(); });
    }

    /// The content of IMETHODCALL.
    void intrinsicCall() {
        m_reader.expect("LOCALNAMESPACEPATH");
        m_request.ns = m_message.decoder().localNamespace();
        while (m_reader.child()) {
            if (!m_reader.is("IPARAMVALUE")) {
                m_reader.misplaced();
            }
            const String name = m_reader.required("NAME");
            Argument argument = within("argument", name, [&] { return this->argument(); });
            if (!m_request.arguments.emplace(blocxx::toLower(name), std::move(argument)).second) {
                failWithin("argument", name, "it is given twice");
            }
        }
    }

    /// The content of IPARAMVALUE.
    Argument argument() {
        if (!m_reader.child()) {
            return {};
        }
        Argument argument = argumentElement();
        m_reader.end();
        return argument;
    }

    Argument argumentElement() {
        Decoder decoder = m_message.decoder();
        if (m_reader.is("VALUE")) {
            return m_reader.text();
        }
        if (m_reader.is("VALUE.ARRAY")) {
            return decoder.texts();
        }
        if (m_reader.is("CLASSNAME")) {
            return ClassName{decoder.className()};
        }
        if (m_reader.is("INSTANCENAME")) {
            return decoder.instanceName();
        }
        if (m_reader.is("VALUE.REFERENCE")) {
            return decoder.reference();
        }
        if (m_reader.is("CLASS")) {
            return decoder.cls();
        }
        if (m_reader.is("INSTANCE")) {
            return decoder.instance();
        }
        if (m_reader.is("QUALIFIER.DECLARATION")) {
            return decoder.qualifierType();
        }
        if (m_reader.is("VALUE.NAMEDINSTANCE")) {
            return decoder.namedInstance();
        }
        m_reader.misplaced();
    }

    MessageReader m_message;
    Reader& m_reader;
    Request m_request;
};

}  // namespace

Request Request::parse(std::string_view document) {
    return RequestReader(document).read();
}

const char* RequestException::cimError() const noexcept {
    switch (m_fault) {
        case Fault::NOT_WELL_FORMED:
            return "request-not-well-formed";
        case Fault::NOT_VALID:
            return "request-not-valid";
        case Fault::UNSUPPORTED_CIM_VERSION:
            return "unsupported-cim-version";
        case Fault::UNSUPPORTED_DTD_VERSION:
            return "unsupported-dtd-version";
        case Fault::UNSUPPORTED_PROTOCOL_VERSION:
            return "unsupported-protocol-version";
        case Fault::MULTIPLE_REQUESTS:
            return "multiple-requests-unsupported";
        case Fault::TOO_LARGE:
            break;
    }
    return "";
}

}  // namespace OpenWBEM::CIMXML
