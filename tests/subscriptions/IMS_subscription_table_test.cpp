#include "subscriptions/IMS_subscription_table.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace {

using Records = std::vector<LogRecord>;
using Texts = std::vector<std::string>;

class ASubscriptionTable : public testing::Test {
protected:
    void store(const std::string& contact, int expires = 600)
    {
        const std::string to = "to " + contact, from = "from " + contact, id = "id " + contact;
        table.store_subs(contact.c_str(), "reg", expires, to.c_str(), from.c_str(), id.c_str());
    }
    // Contact, To, From and Call-ID at `index`, or nothing.
    Texts entry(int index)
    {
        std::string contact, to, from, callid;
        if (table.getEntry(index, contact, to, from, callid) != 0) return {};
        return {contact, to, from, callid};
    }
    std::string contact(int index)
    {
        std::string found;
        return table.getContact(index, found) == 0 ? found : "none";
    }
    IMS_subscription_table table;
};

TEST_F(ASubscriptionTable, StartsEmpty)
{
    EXPECT_EQ(table.getTableSize(), 0);
    EXPECT_EQ(entry(0), Texts{});
    EXPECT_EQ(contact(0), "none");
    EXPECT_EQ(table.inTable("a"), -1);
    EXPECT_EQ(table.getExpires("a"), -1);
    EXPECT_EQ(table.delete_subs("a"), -1);
}

TEST_F(ASubscriptionTable, KeepsEntriesInTheOrderOfTheirArrival)
{
    store("b");
    store("a");
    EXPECT_EQ(table.getTableSize(), 2);
    EXPECT_EQ(entry(0), (Texts{"b", "to b", "from b", "id b"}));
    EXPECT_EQ(entry(1), (Texts{"a", "to a", "from a", "id a"}));
    EXPECT_EQ(contact(1), "a");
}

TEST_F(ASubscriptionTable, CopiesItsTexts)
{
    char contact_text[] = "sip:a";
    char other[] = "x";
    table.store_subs(contact_text, other, 1, other, other, other);
    contact_text[0] = other[0] = '!';
    EXPECT_EQ(entry(0), (Texts{"sip:a", "x", "x", "x"}));
}

TEST_F(ASubscriptionTable, TakesTheContactAsAStringToo)
{
    table.store_subs(std::string("sip:a"), "reg", 60, "t", "f", "i");
    EXPECT_EQ(entry(0), (Texts{"sip:a", "t", "f", "i"}));
    EXPECT_EQ(table.getExpires("sip:a"), 60);
}

TEST_F(ASubscriptionTable, StoresANullTextAsAnEmptyOne)
{
    LogRecords log;
    table.store_subs(nullptr, nullptr, 0, nullptr, nullptr, nullptr);
    EXPECT_EQ(entry(0), (Texts{"", "", "", ""}));
    EXPECT_EQ(table.inTable(""), 0);
    table.printTable();
    EXPECT_TRUE(log.has(5, "printTable", "EVENT-PACKAGE: "));
}

TEST_F(ASubscriptionTable, KeepsTwoEntriesWithOneContact)
{
    store("a", 1);
    store("b", 2);
    store("a", 3);
    EXPECT_EQ(table.getTableSize(), 3);
    EXPECT_EQ(table.getExpires("a"), 1) << "the first match";
    EXPECT_EQ(table.delete_subs("a"), 0);
    EXPECT_EQ(table.inTable("a"), 0);
    EXPECT_EQ(table.getExpires("a"), 3) << "only the older one is gone";
    EXPECT_EQ(contact(0), "b") << "the gap is closed";
    EXPECT_EQ(contact(1), "a");
}

TEST_F(ASubscriptionTable, ComparesContactsExactly)
{
    store("sip:a@h");
    for (const char* other : {"sip:A@h", "sip:a@h ", "sip:a@", ""}) {
        EXPECT_EQ(table.inTable(other), -1);
        EXPECT_EQ(table.getExpires(other), -1);
        EXPECT_EQ(table.delete_subs(other), -1);
    }
    EXPECT_EQ(table.getTableSize(), 1);
}

TEST_F(ASubscriptionTable, GivesBackAnyExpiry)
{
    for (int expires : {0, -1, INT_MIN, INT_MAX}) {
        store("a", expires);
        EXPECT_EQ(table.getExpires("a"), expires);
        table.delete_subs("a");
    }
}

TEST_F(ASubscriptionTable, LeavesTheArgumentsAloneWithoutAnEntry)
{
    store("a");
    for (int index : {1, 2, INT_MAX, -1, INT_MIN}) {
        std::string contact = "c", to = "t", from = "f", callid = "i";
        EXPECT_EQ(table.getEntry(index, contact, to, from, callid), -1) << index;
        EXPECT_EQ(table.getContact(index, contact), -1) << index;
        EXPECT_EQ(contact + to + from + callid, "ctfi") << index;
    }
}

TEST_F(ASubscriptionTable, IsUsableAfterItWasCleared)
{
    store("a");
    store("b");
    table.clear_table();
    EXPECT_EQ(table.getTableSize(), 0);
    EXPECT_EQ(table.inTable("a"), -1);
    table.clear_table();
    store("c");
    EXPECT_EQ(contact(0), "c");
}

TEST_F(ASubscriptionTable, HoldsThousands)
{
    for (int i = 0; i < 5000; ++i)
        store(std::to_string(i));
    EXPECT_EQ(table.getTableSize(), 5000);
    EXPECT_EQ(contact(4999), "4999");
    EXPECT_EQ(table.delete_subs("2500"), 0);
    EXPECT_EQ(contact(2500), "2501");
}

TEST_F(ASubscriptionTable, PrintsTwoLinesWhenItIsEmpty)
{
    LogRecords log;
    table.printTable();
    EXPECT_EQ(log.all(), (Records{{5, "printTable", "===========START OF TABLE======================"},
                                  {5, "printTable", "===========END OF TABLE=================="}}));
}

TEST_F(ASubscriptionTable, PrintsSevenLinesAnEntry)
{
    table.store_subs("<sip:c@h>", "kiv-link-event", -5, "<sip:t@h>", "<sip:f@h>", "%s@id");
    table.store_subs("", "", 3600, "", "", "");
    LogRecords log;
    table.printTable();
    const char* const lines[] = {"===========START OF TABLE======================",
                                 "CONTACT: <sip:c@h>",
                                 "EVENT-PACKAGE: kiv-link-event",
                                 "TO <sip:t@h>",
                                 "FROM <sip:f@h>",
                                 "CALL_ID %s@id",
                                 "Expires: -5",
                                 "--------------------------------",
                                 "CONTACT: ",
                                 "EVENT-PACKAGE: ",
                                 "TO ",
                                 "FROM ",
                                 "CALL_ID ",
                                 "Expires: 3600",
                                 "--------------------------------",
                                 "===========END OF TABLE=================="};
    Records wanted;
    for (const char* line : lines)
        wanted.push_back({5, "printTable", line});
    EXPECT_EQ(log.all(), wanted);
}

// ---- no memory ----

TEST(ASubscriptionTableWithoutMemory, EndsTheProcessWith255)
{
    const ChildResult child = run_in_child([] {
        Failing failing(Call::operator_new, 1);
        IMS_subscription_table table;
    });
    EXPECT_EQ(child.status, 255) << child.err;
    EXPECT_NE(child.err.find("[3] IMS_subscription_table: Could not allocate memory for subsciption table\n"),
              std::string::npos)
        << child.err;
}

// Each of the five copies, and the room in the list.
TEST(StoringWithoutMemory, EndsTheProcessWith1)
{
    for (int nth = 1; nth <= 6; ++nth) {
        const ChildResult child = run_in_child([nth] {
            IMS_subscription_table table;
            Watched::watch_copies();
            std::atexit([] { std::printf("freed %d", Watched::freed()); });
            Failing copy(Call::strdup, nth <= 5 ? nth : 0);
            Failing room(Call::operator_new, nth == 6 ? 1 : 0);
            table.store_subs("c", "e", 1, "t", "f", "i");
        });
        EXPECT_EQ(child.status, 1) << nth << child.err;
        EXPECT_EQ(child.out, "freed " + std::to_string(nth == 6 ? 5 : 4)) << "every copy";
        EXPECT_NE(child.err.find("[3] store_subs: "), std::string::npos) << child.err;
    }
}

} // namespace
