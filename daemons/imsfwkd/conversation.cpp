#include "daemons/imsfwkd/conversation.h"

#include <utility>

namespace imsfwkd {

namespace {

constexpr int MAX_TAGS = 256;
const std::string NOT_FOUND = "0";
const std::string STORED = "1";
const std::string NOT_STORED = "0";
const std::string READY = "GO";

std::string error(const std::string& words)
{
    return "ERR " + words;
}

// Takes `text` up to the next line feed off its front; false when there was none (all of it is taken).
bool take_line(std::string& text, std::string& line)
{
    const std::size_t end = text.find('\n');
    line = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 1);
    return end != std::string::npos;
}

// A request's name, when `request` is that name, a blank and something more; `rest` is that something.
bool begins(const std::string& request, const std::string& name, std::string& rest)
{
    if (request.compare(0, name.size(), name) != 0) return false;
    rest = request.substr(name.size());
    return true;
}

// A tag is a path, or the plain name of an element that may stand anywhere.
std::string path_of_tag(const std::string& tag)
{
    const bool plain = tag.find_first_of("/@[]()*|:. ") == std::string::npos;
    return plain ? "//" + tag : tag;
}

} // namespace

bool Conversation::next_answer(std::string& frame)
{
    std::string request;
    if (over_) return false;
    if (!std::exchange(sync_waits_, false)) {
        switch (decoder_.next(request)) {
        case fwk::FrameDecoder::Result::more: return false;
        case fwk::FrameDecoder::Result::frame: break;
        case fwk::FrameDecoder::Result::bad_length:
            over_ = true;
            frame = fwk::frame(error("a frame is a decimal length, a line feed and that many bytes"));
            return true;
        case fwk::FrameDecoder::Result::too_long:
            over_ = true;
            frame = fwk::frame(error("a frame holds " + std::to_string(fwk::MAX_PAYLOAD) + " bytes at most"));
            return true;
        }
    } else {
        request = "SYNC";
    }
    sync_waits_ = request == "SYNC" && !store_.is_loaded();
    if (sync_waits_) return false;
    frame = fwk::frame(answer_to(request));
    return true;
}

std::string Conversation::answer_to(const std::string& request)
{
    std::string rest;
    if (request == "SYNC") return READY;
    if (begins(request, "GET ", rest)) return get(rest);
    if (begins(request, "MGET ", rest)) return get_many(rest);
    if (begins(request, "SET ", rest)) return set(rest);
    return error("requests are GET, MGET, SET and SYNC");
}

std::string Conversation::get(const std::string& text)
{
    std::string path = text;
    std::string document;
    std::string value;
    if (!take_line(path, document)) return error("GET <document> LF <path>");
    if (!store_.get(document, path, value)) return NOT_FOUND;
    const std::string answer = "1\n" + fwk::encode_value(value);
    return answer.size() <= fwk::MAX_PAYLOAD ? answer : error("the value is longer than a frame");
}

// Tags that are not found are left out.
std::string Conversation::get_many(const std::string& text)
{
    std::string tags = text;
    std::string document;
    if (!take_line(tags, document)) return error("MGET <document> LF <tag> LF <tag>...");
    std::string answer = "1";
    int count = 0;
    for (std::string tag; !tags.empty();) {
        take_line(tags, tag);
        if (++count > MAX_TAGS) return error("MGET takes " + std::to_string(MAX_TAGS) + " tags at most");
        std::string value;
        if (store_.get(document, path_of_tag(tag), value))
            answer += '\n' + tag + '\n' + fwk::encode_value(value);
        if (answer.size() > fwk::MAX_PAYLOAD) return error("the values are longer than a frame");
    }
    return answer == "1" ? NOT_FOUND : answer;
}

std::string Conversation::set(const std::string& text)
{
    std::string value = text;
    std::string document;
    std::string path;
    if (!take_line(value, document) || !take_line(value, path))
        return error("SET <document> LF <path> LF <value>");
    return store_.set(document, path, fwk::decode_value(value)) ? STORED : NOT_STORED;
}

} // namespace imsfwkd
