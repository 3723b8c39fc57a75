// The telephony splitter, with and without a mapping table, against a plain model of its rules: what is
// queued, in which order, with which contents, and what is left over after each message. The first byte
// chooses the table; after it each read begins with its length (two bytes, 2047 at most).
#include "core/IMS_Tapi_ifc.h"
#include "core/IMS_User_Agent.h"

#include <algorithm>
#include <cstdint>
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

struct Item {
    MSG_TYPE kind;
    std::uint32_t number; // msg_id or record number
    std::uint32_t ref;
    std::uint8_t type;
    std::string body;
    bool operator==(const Item& o) const
    {
        return kind == o.kind && number == o.number && ref == o.ref && type == o.type && body == o.body;
    }
};

// ---- the daemon's side: ids 0 to 2 and 'aa' have a row ----

IMS_MAPPED_MSG_S* new_record(std::uint32_t number)
{
    auto* const record = static_cast<IMS_MAPPED_MSG_S*>(std::calloc(1, sizeof(IMS_MAPPED_MSG_S)));
    record->msg_number = number;
    return record;
}

void* copy_body(TAC_MSG_S* msg)
{
    IMS_MAPPED_MSG_S* const record = new_record(1000u + msg->msg_id);
    if (msg->body_len == 0) return record;
    record->body_len = msg->body_len;
    record->body = std::malloc(msg->body_len);
    std::memcpy(record->body, msg->body, msg->body_len);
    return record;
}

void* give_nothing(TAC_MSG_S*)
{
    return nullptr;
}

void* take_body(TAC_MSG_S* msg)
{
    IMS_MAPPED_MSG_S* const record = new_record(5);
    record->body_len = msg->body_len;
    record->body = msg->body;
    msg->body = nullptr;
    return record;
}

constexpr TAPI_EVENT_ACTION_TABLE_T table[] = {
    {0, &copy_body}, {1, &give_nothing}, {2, &take_body}, {0x6161, &copy_body}, {TAPI_TABLE_END, nullptr}};

class Agent : public IMS_User_Agent {
public:
    std::vector<Item> dispatched()
    {
        items_.clear();
        while (!queue_.isEmpty())
            process_one_message();
        return items_;
    }
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
    unsigned short handle_event(unsigned int kind, void* data) override
    {
        demand(kind == MSG_TYPE_TAPI_RAW || kind == MSG_TYPE_TAPI_MAPPED);
        if (kind == MSG_TYPE_TAPI_RAW) {
            const auto* const m = static_cast<const TAC_MSG_S*>(data);
            demand((m->body_len == 0) == (m->body == nullptr));
            items_.push_back(
                {MSG_TYPE_TAPI_RAW, m->msg_id, m->tac_ref, m->tac_type, text(m->body, m->body_len)});
        } else {
            const auto* const m = static_cast<const IMS_MAPPED_MSG_S*>(data);
            items_.push_back({MSG_TYPE_TAPI_MAPPED, m->msg_number, 0, 0, text(m->body, m->body_len)});
        }
        return 0;
    }

private:
    static std::string text(const void* body, std::size_t size)
    {
        return size != 0 ? std::string(static_cast<const char*>(body), size) : std::string();
    }
    std::vector<Item> items_;
};

// ---- the model ----

std::uint32_t number_at(const std::string& bytes, std::size_t at, int width)
{
    std::uint32_t number = 0;
    for (int i = width; i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
    return number;
}

bool model_maps(const Item& raw, Item& record)
{
    record = {MSG_TYPE_TAPI_MAPPED, 1000u + raw.number, 0, 0, raw.body};
    if (raw.number == 2) record.number = 5;
    return raw.number == 0 || raw.number == 2 || raw.number == 0x6161;
}

void model_split(const std::string& bytes, bool mapped, std::vector<Item>& items,
                 std::vector<std::string>& left)
{
    long remaining = static_cast<long>(bytes.size());
    std::size_t at = 0;
    bool have_record = false;
    Item record = {};
    while (remaining >= 16) {
        Item raw = {MSG_TYPE_TAPI_RAW, number_at(bytes, at + 8, 2), number_at(bytes, at + 4, 4),
                    static_cast<std::uint8_t>(bytes[at]), ""};
        const std::size_t length = number_at(bytes, at + 10, 2);
        raw.body = bytes.substr(at + 16, length);
        raw.body.resize(length, '\0');
        remaining -= 16 + static_cast<long>(length);
        at += 16 + length;
        left.push_back("handle_tapi_message: len remaining: " + std::to_string(remaining) +
                       ", sizeof(TAC_MSG_S): 16");
        Item next = {};
        if (mapped && model_maps(raw, next)) {
            record = next;
            have_record = true;
        }
        if (!mapped) items.push_back(raw);
        if (mapped && have_record) items.push_back(record);
    }
    if (items.size() > 51) items.resize(51); // the queue's bound
}

// ---- the log: what is left over after each message, and how often a read was refused ----

struct Log {
    std::vector<std::string> left;
    int refused = 0;
    static void take(void* ctx, int, const char*, const char* text)
    {
        auto* const self = static_cast<Log*>(ctx);
        if (std::strstr(text, "len remaining")) self->left.emplace_back(text);
        if (std::strcmp(text, "Incomplete bytes for TAPI message") == 0) ++self->refused;
    }
};

void check_read(Agent& agent, IMS_Tapi_ifc& ifc, bool mapped, const std::uint8_t* data, std::size_t size)
{
    Log log;
    IMS_log::set_sink(&Log::take, &log);
    // A block of exactly that size: whoever reads beyond it is caught.
    const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
    if (size != 0) std::memcpy(block.get(), data, size);
    ifc.handle_tapi_message(block.get(), static_cast<int>(size));
    std::vector<Item> items;
    std::vector<std::string> left;
    model_split(std::string(reinterpret_cast<const char*>(data), size), mapped, items, left);
    demand(agent.dispatched() == items);
    demand(log.left == left);
    demand(log.refused == (size < 16 ? 1 : 0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const bool mapped = data[0] % 2 != 0;
    static Agent& agent = *new Agent; // an agent keeps its thread's wrapper for ever
    IMS_Tapi_ifc ifc(&agent);
    if (mapped) ifc.initialize_event_tbl(table);
    for (std::size_t at = 1; at + 2 <= size;) {
        const std::size_t wanted = (data[at] + 256u * data[at + 1]) % 2048u;
        const std::size_t length = std::min(wanted, size - at - 2);
        check_read(agent, ifc, mapped, data + at + 2, length);
        at += 2 + length;
    }
    IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
    return 0;
}
