// SPDX-License-Identifier: Apache-2.0
//
// Compares an element with what a parser reads while the element is being written.
#include <algorithm>
#include <array>
#include <exception>
#include <ostream>
#include <streambuf>

#include "openwbem/xml/BoundedExpat.hpp"
#include "openwbem/xml/XMLText.hpp"

namespace OpenWBEM {

using blocxx::Array;

namespace {

/// Compares Expat's events with a tree.
class Comparison {
public:
    explicit Comparison(const XMLNode& root) : m_root(root) {
        XML_SetUserData(m_expat.get(), this);
        XML_SetElementHandler(m_expat.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(m_expat.get(), onText);
    }

    /// Parses the next piece of the written text. The last piece may be empty.
    void read(const char* piece, size_t size, bool isLast) {
        m_same = m_same && XML_Parse(m_expat.get(), piece, static_cast<int>(size),
                                     isLast ? XML_TRUE : XML_FALSE) == XML_STATUS_OK;
    }
    bool isSame() const {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
        return m_same && m_ended;
    }

private:
    struct Step {
        const XMLNode* node;
        size_t begun = 0;  ///< how many of its children have begun
        size_t read = 0;   ///< how much of its text has been read
    };

    // Exceptions must not pass through Expat.
    static void XMLCALL onStart(void* self, const XML_Char* name,
                                const XML_Char** attributes) noexcept {
        auto& comparison = *static_cast<Comparison*>(self);
        try {
            comparison.start(name, attributes);
        } catch (...) {
            comparison.m_same = false;
            comparison.m_failure = std::current_exception();
        }
    }
    static void XMLCALL onEnd(void* self, const XML_Char*) {
        static_cast<Comparison*>(self)->end();
    }
    static void XMLCALL onText(void* self, const XML_Char* text, int size) {
        static_cast<Comparison*>(self)->readText({text, static_cast<size_t>(size)});
    }

    void start(const XML_Char* name, const XML_Char** attributes) {
        const XMLNode* const node = next();
        m_same = m_same && node != nullptr && node->getName() == name;
        if (!m_same) {
            return;
        }
        for (const XMLAttribute& attribute : node->getAttributes()) {
            m_same = m_same && *attributes != nullptr && attribute.name == attributes[0] &&
                     attribute.value == attributes[1];
            attributes += m_same ? 2 : 0;
        }
        m_same = m_same && *attributes == nullptr;
        m_path.push_back({node});
    }

    /// The element that must begin next, or null.
    const XMLNode* next() {
        if (m_path.empty()) {
            return &m_root;
        }
        Step& parent = m_path.back();
        const Array<XMLNode>& children = parent.node->getChildren();
        return parent.begun < children.size() ? &children[parent.begun++] : nullptr;
    }

    void readText(std::string_view text) {
        if (!m_same) {
            return;
        }
        Step& step = m_path.back();
        if (XMLText::holdsOnlyElements(*step.node)) {
            m_same = XMLText::isBlank(text);
            return;
        }
        m_same = std::string_view(step.node->getText()).substr(step.read).starts_with(text);
        step.read += text.size();
    }

    void end() {
        if (!m_same) {
            return;
        }
        const Step& step = m_path.back();
        m_same =
            step.begun == step.node->getChildren().size() &&
            (XMLText::holdsOnlyElements(*step.node) || step.read == step.node->getText().size());
        m_path.pop_back();
        m_ended = m_path.empty();
    }

    const XMLNode& m_root;
    BoundedExpat m_expat;
    Array<Step> m_path;
    bool m_same = true;
    bool m_ended = false;
    std::exception_ptr m_failure;
};

/// Passes what is written to a comparison, in pieces.
class ComparingBuffer : public std::streambuf {
public:
    explicit ComparingBuffer(Comparison& comparison) : m_comparison(comparison) { empty(); }

    void finish() { m_comparison.read(pbase(), static_cast<size_t>(pptr() - pbase()), true); }

protected:
    int_type overflow(int_type next) override {
        m_comparison.read(pbase(), static_cast<size_t>(pptr() - pbase()), false);
        empty();
        return sputc(traits_type::to_char_type(next));
    }

private:
    void empty() { setp(m_piece.data(), m_piece.data() + m_piece.size()); }

    Comparison& m_comparison;
    std::array<char, size_t{64} * 1024> m_piece;
};

}  // namespace

bool XMLNode::survivesRoundTrip() const {
    Comparison comparison(*this);
    ComparingBuffer buffer(comparison);
    std::ostream out(&buffer);
    printNode(out);
    buffer.finish();
    return comparison.isSame();
}

}  // namespace OpenWBEM
