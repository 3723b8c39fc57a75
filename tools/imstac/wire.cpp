#include "tools/imstac/wire.h"

#include <algorithm>

namespace imstac {

const char* name_of(Channel channel)
{
    return channel == Channel::async ? "async" : "sync";
}

std::string packed(const Message& message)
{
    const std::size_t length = std::min(message.body.size(), BODY_MAX);
    TAC_MSG_S header{};
    header.tac_type = message.type;
    header.tac_ref = message.ref;
    header.msg_id = message.id;
    header.body_len = static_cast<std::uint16_t>(length);
    std::string bytes(HEADER_SIZE, '\0');
    imsua::pack_tapi_header(header, 0, bytes.data());
    return bytes.append(message.body, 0, length);
}

void Splitter::feed(const char* data, std::size_t size)
{
    bytes_.erase(0, taken_);
    taken_ = 0;
    bytes_.append(data, size);
}

bool Splitter::next(Message& message)
{
    if (rest() < HEADER_SIZE) return false;
    const char* const start = bytes_.data() + taken_;
    const TAC_MSG_S header = imsua::unpack_tapi_header(start);
    const std::size_t length = header.body_len;
    if (rest() < HEADER_SIZE + length) return false;
    message.type = header.tac_type;
    message.ref = header.tac_ref;
    message.id = header.msg_id;
    message.body.assign(start + HEADER_SIZE, length);
    taken_ += HEADER_SIZE + length;
    return true;
}

} // namespace imstac
