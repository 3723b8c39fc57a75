// The baseline of the SIP benchmarks: the same requests sent by Sofia-SIP's NTA alone, from one thread, with
// a window of outstanding transactions.
#ifndef BENCH_SUPPORT_BARE_NTA_H_INCLUDED
#define BENCH_SUPPORT_BARE_NTA_H_INCLUDED

#include <memory>
#include <string>
#include <vector>

namespace bench {

class BareNta {
public:
    BareNta();
    ~BareNta();

    // Sends each request (complete but for Via) and returns when each has its final response: how many were
    // 200.
    int send_all(const std::vector<std::string>& requests, int window);

    BareNta(const BareNta&) = delete;
    BareNta& operator=(const BareNta&) = delete;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace bench

#endif
