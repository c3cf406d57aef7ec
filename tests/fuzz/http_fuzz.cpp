// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as what a client sends over HTTP: requests are taken apart in the same way whether
// their bytes arrive together or one by one, and their fields are understood or refused with a
// status.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <tuple>

#include "owcimomd/http/Authenticator.hpp"
#include "owcimomd/http/CIMHeaders.hpp"

namespace {

using namespace OwCimomd;
using State = HttpParser::State;

constexpr size_t LIMIT = 4096;

struct Outcome {
    State state;
    std::map<String, String> fields;
    String body;
    size_t left;

    auto tied() const { return std::tie(state, fields, body, left); }
};

Outcome feed(std::string_view bytes, size_t step) {
    HttpParser parser;
    String waiting;
    for (size_t at = 0; at < bytes.size(); at += step) {
        waiting += bytes.substr(at, step);
        waiting.erase(0, parser.put(waiting));
        if (parser.state() == State::HAS_HEADER) {
            parser.readBody(LIMIT);
            waiting.erase(0, parser.put(waiting));
        }
    }
    const bool isDone = parser.state() == State::DONE;
    return {parser.state(), parser.request().fields, isDone ? parser.takeBody() : String(),
            isDone ? waiting.size() : 0};
}

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

bool isPlain(std::string_view text) {
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

void read(const HttpRequest& request) {
    for (const auto& [name, value] : CIMHeaders::optionsFields()) {
        require(isPlain(name) && isPlain(value));
    }
    require(isPlain(escaped(request.target)));
    Credential::parse(request.field("authorization"));
    const auto headers = CIMHeaders::read(request);
    if (const auto* refusal = std::get_if<HttpRefusal>(&headers)) {
        return require(refusal->status >= 400 && !refusal->text.empty());
    }
    for (const auto& [name, value] : std::get<CIMHeaders>(headers).responseFields()) {
        require(isPlain(name) && isPlain(value));
    }
    require(std::get<CIMHeaders>(headers).mismatch(CIMXML::Request()).has_value() ||
            request.field("cimmethod").empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const Outcome whole = feed(bytes, size + 1);
    const Outcome single = feed(bytes, 1);
    // What is wrong, or too large by some bytes, may be seen before its end has come, or with it.
    const bool isDone = whole.state == State::DONE || single.state == State::DONE;
    const bool isUnfinished = whole.state == single.state && whole.state != State::FAILED;
    if (isDone || isUnfinished) {
        require(whole.tied() == single.tied());
    }
    require(whole.body.size() <= LIMIT);
    HttpParser parser;
    parser.put(bytes);
    if (parser.state() == State::HAS_HEADER) {
        read(parser.request());
    }
    return 0;
}
