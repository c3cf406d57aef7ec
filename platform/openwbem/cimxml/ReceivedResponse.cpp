// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/ReceivedResponse.hpp"

#include "openwbem/cimxml/MessageReader.hpp"

namespace OpenWBEM::CIMXML {

namespace {

class ResponseReader {
public:
    explicit ResponseReader(std::string_view document)
        : m_message(document), m_reader(m_message.xml()) {}

    ReceivedResponse read() {
        try {
            m_message.open(m_response.id, m_response.protocolVersion);
            if (!m_reader.is("SIMPLERSP")) {
                m_reader.misplaced();
            }
            simpleResponse();
            m_message.close();
        } catch (const ContentException& e) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER, e.getMessage());
        }
        return std::move(m_response);
    }

private:
    /// The content of SIMPLERSP.
    void simpleResponse() {
        m_message.goTo("IMETHODRESPONSE");
        m_response.isExtrinsic = m_reader.is("METHODRESPONSE");
        if (!m_response.isExtrinsic && !m_reader.is("IMETHODRESPONSE")) {
            m_reader.misplaced();
        }
        m_response.method = m_reader.required("NAME");
        while (m_reader.child()) {
            if (m_reader.is("ERROR")) {
                error();
            } else if (m_response.isExtrinsic) {
                m_reader.skip();
            } else if (m_reader.is("IRETURNVALUE")) {
                results();
            } else if (m_reader.is("PARAMVALUE")) {
                output();
            } else {
                m_reader.misplaced();
            }
        }
        m_reader.end();
    }

    void error() {
        const auto code = within("attribute", "CODE",
                                 [&] { return fromText<uint16_t>(m_reader.required("CODE")); });
        m_response.error.emplace(__FILE__, __LINE__, static_cast<CIMException::ErrNoType>(code),
                                 m_reader.optional("DESCRIPTION"));
        // Instances of CIM_Error may be in it.
        m_reader.skip();
    }

    void results() {
        while (m_reader.child()) {
            m_response.results.push_back(
                within("method", m_response.method, [&] { return result(); }));
        }
    }

    Result result() {
        Decoder decoder = m_message.decoder();
        if (m_reader.is("CLASS")) {
            return decoder.cls();
        }
        if (m_reader.is("INSTANCE")) {
            return decoder.instance();
        }
        if (m_reader.is("QUALIFIER.DECLARATION")) {
            return decoder.qualifierType();
        }
        if (m_reader.is("CLASSNAME")) {
            return ClassName{decoder.className()};
        }
        if (m_reader.is("INSTANCENAME") || m_reader.is("INSTANCEPATH")) {
            return decoder.path();
        }
        if (m_reader.is("OBJECTPATH")) {
            m_message.goTo("INSTANCEPATH");
            CIMObjectPath path = decoder.path();
            m_reader.end();
            return path;
        }
        if (m_reader.is("VALUE.NAMEDINSTANCE")) {
            return decoder.namedInstance();
        }
        if (m_reader.is("VALUE.INSTANCEWITHPATH") || m_reader.is("VALUE.OBJECTWITHPATH")) {
            return withPath();
        }
        return value();
    }

    Result withPath() {
        Decoder decoder = m_message.decoder();
        m_message.goTo("INSTANCEPATH");
        CIMObjectPath path = decoder.path();
        m_message.goTo("INSTANCE");
        if (m_reader.is("CLASS")) {
            ClassWithPath result{std::move(path), decoder.cls()};
            m_reader.end();
            return result;
        }
        if (!m_reader.is("INSTANCE")) {
            m_reader.misplaced();
        }
        NamedInstance result{std::move(path), decoder.instance()};
        m_reader.end();
        return result;
    }

    /// VALUE, VALUE.ARRAY or VALUE.REFERENCE.
    CIMValue value() {
        const CIMDataType type = m_reader.is("VALUE.REFERENCE") ? CIMDataType::reference({})
                                 : m_reader.is("VALUE.ARRAY")
                                     ? CIMDataType::array(CIMDataType::STRING)
                                     : CIMDataType(CIMDataType::STRING);
        return m_message.decoder().value(type);
    }

    /// PARAMVALUE.
    void output() {
        const String name = m_reader.required("NAME");
        CIMValue result;
        if (m_reader.child()) {
            result = within("parameter", name, [&] { return value(); });
            m_reader.end();
        }
        m_response.outputs.insert_or_assign(name, std::move(result));
    }

    MessageReader m_message;
    Reader& m_reader;
    ReceivedResponse m_response;
};

}  // namespace

ReceivedResponse ReceivedResponse::parse(std::string_view document) {
    return ResponseReader(document).read();
}

}  // namespace OpenWBEM::CIMXML
