#include "subscriptions/IMS_subscription_table.h"
#include "tests/support/log_records.h"
#include "xml/XmlData.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <gtest/gtest.h>

namespace {

using Records = std::vector<LogRecord>;
using Texts = std::vector<std::string>;

// One journal for a whole sweep: what was opened and what was done on which connection, in order.
struct Journal {
    Texts lines;
};

struct JournalConnection : SIPLIB_SIPClientConnection {
    JournalConnection(Journal& into, int number) : journal(into), name(std::to_string(number)) {}
    int note(const std::string& line)
    {
        journal.lines.push_back(name + " " + line);
        return SIPLIB_OK;
    }
    int initRequest(const char* method) override { return note(std::string("init ") + method); }
    int setHeader(const char* tag, const char* value) override
    {
        return note(std::string(tag) + ": " + (value ? value : "(null)"));
    }
    int setBody(const char* data, int len) override
    {
        return note("body " + std::string(data, static_cast<std::size_t>(len)));
    }
    int setListener(SIPLIB_SIPClientConnectionListener* listener) override
    {
        listeners.push_back(listener);
        return note("listener");
    }
    int send() override
    {
        if (on_send) on_send();
        note("send");
        return send_result;
    }
    int close() override { return note("close"); }

    Journal& journal;
    std::string name;
    std::vector<SIPLIB_SIPClientConnectionListener*> listeners;
    std::function<void()> on_send;
    int send_result = SIPLIB_OK;
};

struct JournalConnector : SIPLIB_SIPConnector {
    explicit JournalConnector(Journal& into) : journal(into) {}
    SIPLIB_SIPObject* open(const char* desturi, const char* srcuri) override
    {
        journal.lines.push_back(std::string("open ") + desturi + " from " + (srcuri ? srcuri : "null"));
        if (instead) {
            SIPLIB_SIPObject* other = nullptr;
            if (instead(desturi, other)) return other;
        }
        opened.emplace_back(journal, static_cast<int>(opened.size()));
        if (on_open) on_open(opened.back());
        return &opened.back();
    }
    Journal& journal;
    std::deque<JournalConnection> opened;
    // True: `other` is the answer to this URI.
    std::function<bool(const std::string& uri, SIPLIB_SIPObject*& other)> instead;
    std::function<void(JournalConnection&)> on_open;
};

struct Listener : SIPLIB_SIPClientConnectionListener {
    void notifyResponse(SIPLIB_SIPClientConnection*) override {}
};

class TextDocument : public XmlData {
public:
    int encodeXml() override
    {
        ++encodings;
        buffer = text;
        buffer_length = 4;
        return result;
    }
    int encodings = 0;
    int result = 0;

private:
    char text[5] = "<x/>";
};

class ASweep : public testing::Test {
protected:
    void store(const std::string& contact)
    {
        table.store_subs(contact.c_str(), "another package", 0, ("<sip:to-" + contact + ">").c_str(),
                         ("<sip:from-" + contact + ">").c_str(), ("id-" + contact).c_str());
    }
    void sweep(const char* event = "kiv-link-avail-event")
    {
        table.notifyAll(connector, "<sip:me@127.0.0.1:5070>", event, "application/xml", document, &listener,
                        "active", 60);
    }
    // What a subscriber's NOTIFY does on its connection.
    static Texts notify(const std::string& number, const std::string& contact)
    {
        Texts lines = {"open " + contact + " from <sip:me@127.0.0.1:5070>"};
        for (const std::string& step :
             {std::string("init NOTIFY"), "From: <sip:from-" + contact + ">", "To: <sip:to-" + contact + ">",
              std::string("Contact: <sip:me@127.0.0.1:5070>"), std::string("Event: kiv-link-avail-event"),
              std::string("Expires: 60"), std::string("Subscription-State: active"),
              std::string("Content-Type: application/xml"), std::string("listener"), "Call-ID: id-" + contact,
              std::string("body <x/>"), std::string("send")})
            lines.push_back(number + " " + step);
        return lines;
    }
    Texts& lines = journal.lines;
    Journal journal;
    JournalConnector connector{journal};
    Listener listener;
    TextDocument document;
    IMS_subscription_table table;
    LogRecords log;
};

Texts operator+(Texts a, const Texts& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST_F(ASweep, OfAnEmptyTableSendsNothing)
{
    sweep();
    EXPECT_EQ(lines, Texts{});
    EXPECT_EQ(document.encodings, 0);
    EXPECT_TRUE(log.all().empty());
}

TEST_F(ASweep, SendsOneNotifyToEachSubscriberInOrder)
{
    store("a");
    store("b");
    store("c");
    sweep();
    EXPECT_EQ(lines, notify("0", "a") + notify("1", "b") + notify("2", "c"));
    EXPECT_EQ(document.encodings, 3);
    EXPECT_EQ(table.getTableSize(), 3) << "nothing in the table changes";
}

TEST_F(ASweep, LetsTheListenerHearTheResponses)
{
    store("a");
    sweep();
    EXPECT_EQ(connector.opened[0].listeners, std::vector<SIPLIB_SIPClientConnectionListener*>{&listener});
}

TEST_F(ASweep, OfLinkEventsCarriesProfileMinus1)
{
    store("a");
    sweep("kiv-link-event");
    const auto profile = std::find(lines.begin(), lines.end(), "0 Kiv-Profile-ID: -1");
    ASSERT_NE(profile, lines.end());
    EXPECT_EQ(profile[-1], "0 Subscription-State: active");
    EXPECT_EQ(profile[1], "0 Content-Type: application/xml");
}

TEST_F(ASweep, SkipsASubscriberThatCannotBeReached)
{
    store("a");
    store("b");
    store("c");
    connector.instead = [](const std::string& uri, SIPLIB_SIPObject*& other) {
        other = nullptr;
        return uri == "b";
    };
    sweep();
    EXPECT_EQ(lines, notify("0", "a") + Texts{"open b from <sip:me@127.0.0.1:5070>"} + notify("1", "c"));
    EXPECT_EQ(log.up_to(4), (Records{{4, "conn_open", "desturi=b srcuri=<sip:me@127.0.0.1:5070> failed"}}));
}

TEST_F(ASweep, SkipsWhatIsNoClientConnection)
{
    SIPLIB_SIPNotifier notifier;
    store("a");
    store("b");
    connector.instead = [&](const std::string& uri, SIPLIB_SIPObject*& other) {
        other = &notifier;
        return uri == "a";
    };
    sweep();
    EXPECT_EQ(lines, Texts{"open a from <sip:me@127.0.0.1:5070>"} + notify("0", "b"));
}

TEST_F(ASweep, GoesOnAfterASendThatFails)
{
    store("a");
    store("b");
    connector.on_open = [](JournalConnection& conn) {
        if (conn.name == "0") conn.send_result = 107;
    };
    sweep();
    EXPECT_EQ(lines, notify("0", "a") + notify("1", "b"));
}

TEST_F(ASweep, SendsNothingThatCannotBeEncoded)
{
    store("a");
    document.result = -1;
    sweep();
    EXPECT_EQ(lines.back(), "0 Call-ID: id-a");
}

TEST_F(ASweep, DoesNotVisitEntriesThatItAdds)
{
    store("a");
    connector.on_open = [&](JournalConnection& conn) { conn.on_send = [&] { store("added"); }; };
    sweep();
    EXPECT_EQ(lines, notify("0", "a"));
    EXPECT_EQ(table.getTableSize(), 2);
}

TEST_F(ASweep, SurvivesThatItsEntriesAreRemoved)
{
    store("a");
    store("b");
    connector.on_open = [&](JournalConnection& conn) { conn.on_send = [&] { table.clear_table(); }; };
    sweep();
    EXPECT_EQ(lines, notify("0", "a"));
}

TEST_F(ASweep, PassesNullTextsOn)
{
    store("a");
    table.notifyAll(connector, nullptr, nullptr, nullptr, document, nullptr, nullptr, 0);
    EXPECT_EQ(lines.front(), "open a from null");
    EXPECT_EQ(connector.opened[0].listeners, std::vector<SIPLIB_SIPClientConnectionListener*>{nullptr});
}

} // namespace
