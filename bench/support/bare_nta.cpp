#include "bench/support/bare_nta.h"

#include <cstdio>
#include <cstdlib>

struct nta_outgoing_magic_s;
#define NTA_OUTGOING_MAGIC_T struct nta_outgoing_magic_s
#define SU_ROOT_MAGIC_T      void
#include <sofia-sip/msg.h>
#include <sofia-sip/nta.h>
#include <sofia-sip/nta_tag.h>
#include <sofia-sip/sip.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_status.h>
#include <sofia-sip/su_log.h>
#include <sofia-sip/su_wait.h>
#include <sofia-sip/tport_tag.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace bench {

struct BareNta::Impl {
    su_root_t* root = nullptr;
    nta_agent_t* agent = nullptr;
    const std::vector<std::string>* requests = nullptr;
    std::size_t next = 0;
    std::size_t done = 0;
    int good = 0;

    void send_next();
    static int on_response(nta_outgoing_magic_t* magic, nta_outgoing_t* request, const sip_t* sip);
};

namespace {

nta_outgoing_magic_t* as_magic(void* impl)
{
    return static_cast<nta_outgoing_magic_t*>(impl);
}

} // namespace

int BareNta::Impl::on_response(nta_outgoing_magic_t* magic, nta_outgoing_t* request, const sip_t*)
{
    auto* self = static_cast<Impl*>(static_cast<void*>(magic));
    const int status = nta_outgoing_status(request);
    if (status < 200) return 0;
    nta_outgoing_destroy(request);
    ++self->done;
    self->good += status == 200 ? 1 : 0;
    self->send_next();
    return 0;
}

void BareNta::Impl::send_next()
{
    if (next >= requests->size()) return;
    const std::string& text = (*requests)[next++];
    msg_t* message = msg_make(sip_default_mclass(), 0, text.data(), static_cast<ssize_t>(text.size()));
    if (nta_outgoing_mcreate(agent, &on_response, as_magic(this), nullptr, message, TAG_END()) == nullptr)
        ++done;
}

BareNta::BareNta() : impl_(std::make_unique<Impl>())
{
    su_init();
    su_log_set_level(nullptr, 0);
    impl_->root = su_root_create(nullptr);
    su_root_threading(impl_->root, 0);
    impl_->agent = nta_agent_create(impl_->root, reinterpret_cast<const url_string_t*>(-1), nullptr, nullptr,
                                    NTATAG_UDP_MTU(65535), NTATAG_SIP_T4(10), NTATAG_USE_NAPTR(0),
                                    NTATAG_USE_SRV(0), TAG_END());
    if (impl_->agent == nullptr ||
        nta_agent_add_tport(impl_->agent, reinterpret_cast<const url_string_t*>("sip:127.0.0.1:*"),
                            TPTAG_QUEUESIZE(1000), TAG_END()) < 0) {
        std::fputs("bare NTA: no transport\n", stderr);
        std::exit(2);
    }
}

BareNta::~BareNta()
{
    nta_agent_destroy(impl_->agent);
    for (int i = 0; i < 10; ++i)
        su_root_step(impl_->root, 0);
    su_root_destroy(impl_->root);
}

int BareNta::send_all(const std::vector<std::string>& requests, int window)
{
    impl_->requests = &requests;
    impl_->next = impl_->done = 0;
    impl_->good = 0;
    for (int i = 0; i < window; ++i)
        impl_->send_next();
    while (impl_->done < requests.size())
        su_root_step(impl_->root, 1000);
    return impl_->good;
}

HandedNta::HandedNta() : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), thread_([this] { serve(); }) {}

HandedNta::~HandedNta()
{
    {
        std::lock_guard<std::mutex> guard(mutex_);
        ending_ = true;
    }
    ::eventfd_write(wake_, 1);
    thread_.join();
    ::close(wake_);
}

int HandedNta::send_all(const std::vector<std::string>& requests, int window)
{
    std::unique_lock<std::mutex> lock(mutex_);
    requests_ = &requests;
    window_ = window;
    ::eventfd_write(wake_, 1);
    done_.wait(lock, [this] { return requests_ == nullptr; });
    return good_;
}

void HandedNta::serve()
{
    BareNta nta;
    nta_ = &nta;
    su_root_t* const root = nta.impl_->root;
    su_wait_t wait = {};
    su_wait_create(&wait, wake_, SU_WAIT_IN);
    const auto woken = [](su_root_magic_t*, su_wait_t* on, su_wakeup_arg_t*) {
        eventfd_t count = 0;
        return ::eventfd_read(on->fd, &count);
    };
    const int index = su_root_register(root, &wait, woken, nullptr, 0);
    for (;;) {
        su_root_step(root, 1000);
        {
            std::lock_guard<std::mutex> guard(mutex_);
            if (ending_) break;
            if (!requests_) continue;
        }
        work();
    }
    su_root_deregister(root, index);
}

void HandedNta::work()
{
    const int good = nta_->send_all(*requests_, window_);
    std::lock_guard<std::mutex> guard(mutex_);
    good_ = good;
    requests_ = nullptr;
    done_.notify_one();
}

} // namespace bench
