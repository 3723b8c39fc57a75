// One synchronous connection as bytes in and frames out: what docs/framework-protocol.md says a request
// gets, without a socket.
//
// Thread   one at a time, the store's.
// Memory   what was fed and not yet answered; see wants_input().
// Errors   a bad request gets an answer that says so; bytes that are no frames end the conversation.
#ifndef IMSFWKD_CONVERSATION_H_INCLUDED
#define IMSFWKD_CONVERSATION_H_INCLUDED

#include "baseuafw/fwk_frame.h"
#include "daemons/imsfwkd/store.h"

#include <string>

namespace imsfwkd {

class Conversation {
public:
    // `store` is borrowed for the conversation's life.
    explicit Conversation(Store& store) : store_(store) {}

    void feed(const char* bytes, std::size_t count) { decoder_.feed(bytes, count); }

    // Works on the next request. True: `frame` is to be sent, and there may be another request already.
    // False: nothing to do before more bytes come, or before the store has loaded (SYNC).
    bool next_answer(std::string& frame);

    // No whole request is waiting: more bytes would help. A caller that feeds only then, a bounded piece
    // at a time, bounds the memory.
    bool wants_input() const { return !sync_waits_ && !over_; }

    // The bytes were no frames; the last answer said so, and there will be no other.
    bool is_over() const { return over_; }

private:
    std::string answer_to(const std::string& request);
    std::string get(const std::string& text);
    std::string get_many(const std::string& text);
    std::string set(const std::string& text);

    Store& store_;
    fwk::FrameDecoder decoder_;
    bool sync_waits_ = false;
    bool over_ = false;
};

} // namespace imsfwkd

#endif
