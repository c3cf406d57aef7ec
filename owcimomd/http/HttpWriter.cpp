// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpWriter.hpp"

// Boost's header needs it and does not include it.
#include <ostream>

#include <boost/beast/http/status.hpp>
#include <cstdio>
#include <ctime>

namespace OwCimomd {

namespace {

/// "Sun, 06 Nov 1994 08:49:37 GMT" (RFC 9110 5.6.7), whatever the locale.
String dateOf(time_t now) {
    static constexpr const char* DAYS[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    tm time{};
    gmtime_r(&now, &time);
    char text[64];
    std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT", DAYS[time.tm_wday],
                  time.tm_mday, MONTHS[time.tm_mon], time.tm_year + 1900, time.tm_hour, time.tm_min,
                  time.tm_sec);
    return text;
}

void appendFields(String& out, const HttpFields& fields) {
    for (const auto& [name, value] : fields) {
        out += name + ": " + value + "\r\n";
    }
}

String headOf(const HttpResponse& response) {
    const auto reason =
        boost::beast::http::obsolete_reason(boost::beast::http::status(response.status));
    String head = "HTTP/1.1 " + std::to_string(response.status) + " " +
                  String(reason.data(), reason.size()) + "\r\n";
    appendFields(head, {{"Date", dateOf(std::time(nullptr))}, {"Cache-Control", "no-cache"}});
    appendFields(head, response.fields);
    if (response.isLast) {
        appendFields(head, {{"Connection", "close"}});
    }
    return head;
}

}  // namespace

kj::Promise<void> HttpWriter::write(String text) {
    auto owned = kj::heap<String>(std::move(text));
    auto writing = m_output.write(owned->data(), owned->size());
    return m_timer.timeoutAfter(PIECE_TIME, kj::mv(writing)).attach(kj::mv(owned));
}

kj::Promise<void> HttpWriter::send(const HttpResponse& response) {
    String text = headOf(response);
    appendFields(text, {{"Content-Length", std::to_string(response.body.size())}});
    return write(text + "\r\n" + response.body);
}

kj::Promise<void> HttpWriter::sendContinue() {
    return write("HTTP/1.1 100 Continue\r\n\r\n");
}

kj::Promise<void> HttpWriter::begin(const HttpResponse& response, bool inChunks) {
    m_inChunks = inChunks;
    String text = headOf(response);
    if (m_inChunks) {
        appendFields(text, {{"Transfer-Encoding", "chunked"}});
    }
    return write(text + "\r\n");
}

kj::Promise<void> HttpWriter::piece(String text) {
    // A chunk without bytes is the end.
    if (!m_inChunks || text.empty()) {
        return write(std::move(text));
    }
    char size[2 * sizeof(size_t) + 3];
    std::snprintf(size, sizeof size, "%zx\r\n", text.size());
    return write(size + text + "\r\n");
}

kj::Promise<void> HttpWriter::end(const HttpFields& trailers) {
    if (!m_inChunks) {
        return kj::READY_NOW;
    }
    String text = "0\r\n";
    appendFields(text, trailers);
    return write(text + "\r\n");
}

}  // namespace OwCimomd
