// Records that are valid by default: each test changes what it is about.
#ifndef TESTS_IMSLADDER_SAMPLES_H_INCLUDED
#define TESTS_IMSLADDER_SAMPLES_H_INCLUDED

#include "tools/imsladder/merge.h"

#include <string>
#include <vector>

namespace samples {

inline std::string request(const std::string& method, const std::string& branch,
                           const std::string& headers = "")
{
    return method + " sip:a@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1:1;branch=" + branch +
           "\r\nCall-ID: c1\r\nCSeq: 1 " + method + "\r\n" + headers + "\r\n";
}

inline std::string response(const std::string& status, const std::string& method, const std::string& branch)
{
    return "SIP/2.0 " + status + "\r\nVia: SIP/2.0/UDP 127.0.0.1:1;branch=" + branch +
           "\r\nCall-ID: c1\r\nCSeq: 1 " + method + "\r\n\r\n";
}

struct Party {
    std::string program;
    int pid;
    std::string address;
};
inline const Party watch{"imswatch", 11, "127.0.0.1:5080"};
inline const Party agent{"imslinkevd", 22, "127.0.0.1:5070"};
inline const std::string sipp = "127.0.0.1:5090";

inline imsladder::Record sent(std::int64_t time, const Party& self, const std::string& peer,
                              const std::string& message)
{
    imsladder::Record record;
    record.time = time;
    record.program = self.program;
    record.pid = self.pid;
    record.sent = true;
    record.transport = "udp";
    record.local = self.address;
    record.peer = peer;
    record.summary = imsladder::summarize(message);
    return record;
}

inline imsladder::Record received(std::int64_t time, const Party& self, const std::string& peer,
                                  const std::string& message)
{
    imsladder::Record record = sent(time, self, peer, message);
    record.sent = false;
    return record;
}

// "imswatch>imslinkevd SUBSCRIBE x" of each arrow; "!" marks a lost one.
inline std::vector<std::string> drawn(const imsladder::Ladder& ladder)
{
    std::vector<std::string> lines;
    for (const imsladder::Arrow& arrow : ladder.arrows)
        lines.push_back(ladder.participants[arrow.from].name + '>' + ladder.participants[arrow.to].name +
                        ' ' + arrow_label(arrow) + (is_lost(ladder, arrow) ? "!" : ""));
    return lines;
}

} // namespace samples

#endif
