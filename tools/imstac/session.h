// One run of imstac: connects, lets the conversation and the link work together, prints and records.
//
// Thread   one.
#ifndef IMSTAC_SESSION_H_INCLUDED
#define IMSTAC_SESSION_H_INCLUDED

#include "tools/imstac/link.h"
#include "tools/imstac/options.h"
#include "tools/imstac/record.h"
#include "tools/imstac/wire.h"

#include <array>
#include <cstdio>

namespace imstac {

enum Status : int { COMPLETE = 0, INCOMPLETE = 1, BAD_USAGE = 2, NO_AGENT = 3, AGENT_GONE = 4 };

class Session : Outlet, Arrivals {
public:
    // `wake_fd` becomes readable when the run is to end (-1: never). What there is to print goes to `out`,
    // what failed also to `err`. All are borrowed.
    Session(const Options& options, int wake_fd, std::FILE* out, std::FILE* err);
    ~Session() override;

    // The whole run; its exit status.
    int run();

private:
    void send(Channel channel, const Message& message, const std::optional<Answer>& answer) override;
    void send_raw(Channel channel, const std::string& bytes) override;
    void close(Channel channel) override;
    void on_bytes(Channel channel, const char* data, std::size_t size) override;
    void on_end(Channel channel) override;

    bool open_record();
    bool close_record();
    int converse();
    int listen_on();
    bool is_enough() const { return options_.count > 0 && arrived_ >= options_.count; }
    bool is_alone() const;
    bool turn(Time deadline);
    int fail(Status status, const std::string& why);
    void tell(Happening happening);

    const Options& options_;
    Link link_;
    Conversation conversation_;
    std::array<Splitter, 2> splitters_;
    std::FILE* const out_;
    std::FILE* const err_;
    std::FILE* record_ = nullptr;
    unsigned long arrived_ = 0; // messages
    bool agent_left_ = false;   // closed a channel
};

} // namespace imstac

#endif
