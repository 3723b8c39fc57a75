// The floor under the SIP benchmarks: equal-sized datagrams or frames sent to the responder and echoed, with
// the same window of outstanding ones, and no SIP at all.
#ifndef BENCH_SUPPORT_RAW_ECHO_H_INCLUDED
#define BENCH_SUPPORT_RAW_ECHO_H_INCLUDED

#include <cstddef>

namespace bench {

class RawEcho {
public:
    RawEcho(int port, bool tcp);
    ~RawEcho();

    // Returns when `count` units of `size` bytes came back.
    void exchange(int count, std::size_t size, int window);

    RawEcho(const RawEcho&) = delete;
    RawEcho& operator=(const RawEcho&) = delete;

private:
    void send_one(std::size_t size);
    int fd_;
    bool tcp_;
};

} // namespace bench

#endif
