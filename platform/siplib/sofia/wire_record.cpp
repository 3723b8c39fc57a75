#include "siplib/sofia/wire_record.h"

#include "siplib/message.h"
#include "siplib/message_record.h"
#include "siplib/sip_text.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace siplib::sofia {
namespace {

constexpr std::size_t most_begun = 256 * 1024; // of one stream; a message is far smaller
constexpr std::size_t most_streams = 4096;
constexpr std::string_view end_mark = "\v\n"; // after each record

// The head line of a record: "recv 500 bytes from udp/[127.0.0.1]:5060 at 12:34:56.789012:".
struct Head {
    bool sent = false;
    std::size_t size = 0;
    std::string_view transport;
    std::string peer;
};

bool read_head(std::string_view line, Head& head)
{
    head.sent = line.substr(0, 5) == "sent ";
    if (!head.sent && line.substr(0, 5) != "recv ") return false;
    line.remove_prefix(5);
    long size = 0;
    if (!read_number(line.substr(0, line.find(' ')), 1 << 30, size)) return false;
    head.size = static_cast<std::size_t>(size);
    const auto slash = line.find("/[");
    const auto close = line.find("]:", slash == std::string_view::npos ? slash : slash + 2);
    if (slash == std::string_view::npos || close == std::string_view::npos) return false;
    head.transport = line.substr(line.rfind(' ', slash) + 1, slash - line.rfind(' ', slash) - 1);
    const std::string_view address = line.substr(slash + 2, close - slash - 2);
    const std::string_view port =
        line.substr(close + 2, line.find_first_not_of("0123456789", close + 2) - close - 2);
    const bool v6 = address.find(':') != std::string_view::npos;
    head.peer.append(v6 ? "[" : "").append(address).append(v6 ? "]:" : ":").append(port);
    return true;
}

// How long the message at the front of a stream is; 0 while that cannot be told.
std::size_t message_size(std::string_view stream)
{
    const auto blank = stream.find("\r\n\r\n");
    if (blank == std::string_view::npos) return 0;
    std::size_t at = stream.find("\r\n");
    while (at < blank) {
        const std::string_view line = stream.substr(at + 2, stream.find("\r\n", at + 2) - at - 2);
        const auto colon = line.find(':');
        long length = 0;
        if (colon != std::string_view::npos &&
            same_header(trimmed(line.substr(0, colon)), "Content-Length") &&
            read_number(trimmed(line.substr(colon + 1)), 1 << 30, length))
            return blank + 4 + static_cast<std::size_t>(length);
        at += 2 + line.size();
    }
    return blank + 4;
}

// How many of the message's bytes the record holds; npos while its end is not there.
std::size_t held_size(std::string_view rest, const Head& head)
{
    if (rest.substr(std::min(head.size, rest.size()), end_mark.size()) == end_mark) return head.size;
    const auto end = head.sent ? rest.find(end_mark) : std::string_view::npos;
    return end < head.size ? end : std::string_view::npos;
}

std::string completed(std::string_view head, std::size_t size, const SentBodies& bodies)
{
    std::string whole(head);
    if (whole.size() + 2 <= size) whole += "\r\n";
    const std::string_view body = bodies.find(head);
    if (whole.size() + body.size() == size) whole += body;
    return whole;
}

// What a message and its retransmissions have in common: status or method, Call-ID, CSeq.
std::string key_of(std::string_view head)
{
    Message message;
    message.parse(std::string(head), head.size());
    std::string key(message.start_line());
    key.append("\n").append(message.find("Call-ID")).append("\n").append(message.find("CSeq"));
    return key;
}

std::string_view without_leading_line_ends(std::string_view stream)
{
    const auto first = stream.find_first_not_of("\r\n");
    return first == std::string_view::npos ? std::string_view() : stream.substr(first);
}

} // namespace

void SentBodies::note(std::string_view message)
{
    const auto blank = message.find("\r\n\r\n");
    if (blank == std::string_view::npos || blank + 4 == message.size()) return;
    std::string key = key_of(message.substr(0, blank + 2));
    if (!bodies_.insert_or_assign(key, std::string(message.substr(blank + 4))).second) return;
    order_.push_back(std::move(key));
    if (order_.size() <= most) return;
    bodies_.erase(order_.front());
    order_.pop_front();
}

std::string_view SentBodies::find(std::string_view head) const
{
    const auto found = bodies_.find(key_of(head));
    return found == bodies_.end() ? std::string_view() : found->second;
}

SentBodies& sent_bodies()
{
    static auto* never_destroyed = new SentBodies;
    return *never_destroyed;
}

void DumpReader::take_stream(bool sent, std::string_view peer, std::string_view bytes, const Sink& sink)
{
    std::string key(peer);
    key += sent ? '>' : '<';
    if (begun_.size() > most_streams) begun_.clear();
    std::string stream = std::move(begun_[key]);
    begun_.erase(key);
    stream += bytes;
    std::string_view rest = without_leading_line_ends(stream);
    for (std::size_t size = message_size(rest); size > 0 && size <= rest.size(); size = message_size(rest)) {
        sink({sent, "tcp", peer, rest.substr(0, size)});
        rest = without_leading_line_ends(rest.substr(size));
    }
    if (!rest.empty() && rest.size() <= most_begun) begun_[key] = rest;
}

std::size_t DumpReader::read(std::string_view dump, const Sink& sink)
{
    std::size_t done = 0;
    while (done < dump.size()) {
        const auto line_end = dump.find('\n', done);
        if (line_end == std::string_view::npos) break;
        Head head;
        if (!read_head(dump.substr(done, line_end - done), head)) {
            done = line_end + 1; // the dump's own first lines
            continue;
        }
        const std::string_view rest = dump.substr(line_end + 1);
        const std::size_t size = held_size(rest, head);
        if (size == std::string_view::npos) break;
        std::string whole;
        std::string_view bytes = rest.substr(0, size);
        if (size < head.size) {
            whole = completed(bytes, head.size, bodies_);
            bytes = whole;
        }
        if (head.transport == "tcp")
            take_stream(head.sent, head.peer, bytes, sink);
        else if (!trimmed(bytes).empty())
            sink({head.sent, head.transport, head.peer, bytes});
        done = line_end + 1 + size + end_mark.size();
    }
    return done;
}

WireRecord::WireRecord()
{
    if (!MessageRecord::enabled()) return;
    file_ = memfd_create("siplib-wire", MFD_CLOEXEC);
    if (file_ >= 0) path_ = "/proc/self/fd/" + std::to_string(file_);
}

WireRecord::~WireRecord()
{
    if (file_ >= 0) ::close(file_);
}

void WireRecord::drain()
{
    struct stat status = {};
    if (file_ < 0 || fstat(file_, &status) != 0 || status.st_size == 0) return;
    std::string dump(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t got = pread(file_, dump.data(), dump.size(), 0);
    // Nobody writes between two steps, so the file holds whole records and can be emptied.
    if (ftruncate(file_, 0) != 0 || got <= 0) return;
    dump.resize(static_cast<std::size_t>(got));
    reader_.read(dump, [this](const DumpReader::Message& message) {
        const std::string transport(message.transport);
        const std::string peer(message.peer);
        MessageRecord::write(message.sent, transport.c_str(), local_.c_str(), peer.c_str(),
                             message.bytes.data(), message.bytes.size());
    });
}

} // namespace siplib::sofia
