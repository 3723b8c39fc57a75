// The framework protocol as the daemon meets it: a connection's bytes, against a small store in a
// directory of its own that is as new for every input.
#include "baseuafw/baseuafw.h"
#include "daemons/imsfwkd/announcement.h"
#include "daemons/imsfwkd/conversation.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

const char* const DOCUMENT = "<config a='1'><name>eth0</name><list><i>1</i><i>2</i></list><e/></config>";

void demand(bool holds)
{
    if (!holds) std::abort();
}

// A memory file system where there is one: every SET waits for its disk twice.
struct Bench {
    Bench()
    {
        IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
        const char* const base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        std::string pattern = std::string(base) + "/imsua-fuzz-XXXXXX";
        demand(::mkdtemp(pattern.data()) != nullptr);
        directory = pattern;
        std::string why;
        store = std::make_unique<imsfwkd::Store>(directory);
        demand(store->open(why));
    }
    ~Bench() { std::filesystem::remove_all(directory); }
    void renew() const
    {
        std::ofstream(directory + "/config.xml") << DOCUMENT;
        store->reload("config");
        store->take_changes();
    }
    std::string directory;
    std::unique_ptr<imsfwkd::Store> store;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Bench bench;
    bench.renew();
    imsfwkd::Store& store = *bench.store;
    imsfwkd::Conversation talk(store);
    talk.feed(reinterpret_cast<const char*>(data), size);
    std::string frame;
    for (int turns = 0; turns < 64 && talk.next_answer(frame); ++turns) {
        fwk::FrameDecoder decoder;
        std::string payload;
        decoder.feed(frame.data(), frame.size());
        demand(decoder.next(payload) == fwk::FrameDecoder::Result::frame);
        demand(payload == "GO" || payload == "0" || payload[0] == '1' || payload.compare(0, 4, "ERR ") == 0);
        store.load_next();
    }
    for (const imsfwkd::Change& change : store.take_changes()) {
        demand(!change.paths.empty());
        for (const std::string& text : imsfwkd::announcements(change))
            demand(text.size() <= imsfwkd::MAX_ANNOUNCEMENT && text.back() == '\n');
    }
    std::string value;
    demand(store.get("config", "/config", value)); // whatever was asked, the document stands
    return 0;
}
