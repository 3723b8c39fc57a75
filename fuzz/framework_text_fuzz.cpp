// Framework text: what a handler is given is exactly what was received, and its lines are those of a plain
// model. The first byte chooses a sound, a negative or a null text.
#include "core/IMS_User_Agent.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

void demand(bool holds)
{
    if (!holds) std::abort();
}

using Lines = std::vector<std::string>;

// The lines behind the first: each ends at a line feed, the last one at the end. No text, no line.
Lines model_lines(const std::string& text)
{
    Lines lines;
    if (text.empty()) return lines;
    std::string line;
    for (const char c : text) {
        if (c != '\n') {
            line += c;
            continue;
        }
        lines.push_back(line);
        line.clear();
    }
    lines.push_back(line);
    return Lines(lines.begin() + 1, lines.end());
}

class Agent : public IMS_User_Agent {
public:
    // Dispatches the one message that is queued, which must be `expected`.
    bool dispatch_one(const std::string& expected)
    {
        expected_ = expected;
        seen_ = 0;
        process_one_message();
        return seen_ == 1 && queue_.isEmpty();
    }
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
    unsigned short handle_event(unsigned int kind, void* data) override
    {
        demand(kind == MSG_TYPE_FWK);
        demand(std::memcmp(data, expected_.c_str(), expected_.size() + 1) == 0);
        Lines lines = {"left over"};
        parse_prov_msg(static_cast<const char*>(data), lines);
        demand(lines == model_lines(expected_.c_str())); // up to its first zero byte
        ++seen_;
        return 0;
    }

private:
    std::string expected_;
    int seen_ = 0;
};

bool silence_output()
{
    IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
    return std::freopen("/dev/null", "w", stdout) != nullptr;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool is_silent = silence_output();
    demand(is_silent);
    if (size == 0) return 0;
    const std::size_t length = size - 1;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[length]);
    if (length != 0) std::memcpy(block.get(), data + 1, length);
    int fd = 4;
    int len = static_cast<int>(length);
    if (data[0] == 1) len = -len;
    unsigned char* const buffer = data[0] == 2 ? nullptr : block.get();
    const bool has_text = buffer && len > 0;
    static Agent& agent = *new Agent; // an agent keeps its thread's wrapper for ever
    agent.handle_fwk_message(fd, buffer, len);
    const std::string text(reinterpret_cast<const char*>(data) + 1, has_text ? length : 0);
    demand(agent.dispatch_one(text) && fd == 4);
    return 0;
}
