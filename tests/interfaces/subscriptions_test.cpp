// Subscription table, event owners and addresses, as a notifier daemon calls them.
#include "subscriptions/IMS_address.h"
#include "subscriptions/IMS_event_mgmt.h"
#include "subscriptions/IMS_subscription_table.h"
#include "tests/interfaces/interface_checks.h"
#include "xml/XmlData.h"

#include <type_traits>

namespace {

using Text = std::string;
using Table = IMS_subscription_table;

static_assert(!std::is_copy_constructible<Table>::value && !std::is_copy_assignable<Table>::value, "");
static_assert(sizeof(Table) == sizeof(void*), "one member");
static_assert(std::is_same<decltype(IMS_event_mgmt::evlist), std::vector<IMS_EVENT_CONTACT_T>&>::value, "");
static_assert(std::is_copy_constructible<IMS_event_mgmt>::value &&
                  std::is_default_constructible<IMS_address>::value,
              "");

TEST(TheSubscriptionTable, OffersItsOperations)
{
    offers<void (Table::*)(const char*, const char*, int, const char*, const char*, const char*)>(
        &Table::store_subs);
    offers<void (Table::*)(const Text&, const char*, int, const char*, const char*, const char*)>(
        &Table::store_subs);
    offers<int (Table::*)(Text)>(&Table::delete_subs);
    offers<void (Table::*)()>(&Table::clear_table);
    offers<int (Table::*)(Text)>(&Table::inTable);
    offers<int (Table::*)(Text)>(&Table::getExpires);
    offers<int (Table::*)(int, Text&, Text&, Text&, Text&)>(&Table::getEntry);
    offers<int (Table::*)(int, Text&)>(&Table::getContact);
    offers<int (Table::*)()>(&Table::getTableSize);
    offers<void (Table::*)()>(&Table::printTable);
    offers<void (Table::*)(SIPLIB_SIPConnector&, const char*, const char*, const char*, XmlData&,
                           SIPLIB_SIPClientConnectionListener*, const char*, int)>(&Table::notifyAll);
}

TEST(TheSubscriptionTable, TakesContactsInEveryForm)
{
    Table table;
    char chars[] = "c";
    Text text = "c";
    table.store_subs("c", chars, 1, chars, chars, chars);
    table.store_subs(chars, "e", 2, "t", "f", "i");
    table.store_subs(text, "e", 3, "t", "f", "i");
    table.store_subs(nullptr, nullptr, 4, nullptr, nullptr, nullptr);
    EXPECT_EQ(table.getTableSize(), 4);
    EXPECT_EQ(table.delete_subs("c") + table.delete_subs(chars) + table.delete_subs(text), 0);
    EXPECT_EQ(table.inTable("c"), -1);
    EXPECT_EQ(table.getExpires(""), 4);
}

TEST(TheEventOwners, OfferTheirOperationsToTheClass)
{
    using E = IMS_event_mgmt;
    offers<void (*)(Text, Text, Text)>(&E::add_owner);
    offers<void (*)(Text)>(&E::remove_owner);
    offers<Text (*)(Text, Text)>(&E::get_element);
    offers<Text (*)(Text, Text)>(&E::get_parameter);
    offers<int (*)(Text)>(&E::get_port);
    offers<Text (*)(const char*, Text)>(&E::get_value_from_cap_files);
    offers<void (*)()>(&E::print_evlist);
    const E empties_the_list;
    E::add_owner("reg", "Contact", "<sip:a@h:5070>");
    EXPECT_EQ(E::evlist.size(), 1u);
    EXPECT_EQ(E::get_port("reg"), 5070);
    E::evlist.clear();
}

TEST(TheAddresses, OfferTheirOperationsToTheClass)
{
    using A = IMS_address;
    offers<Text (*)(Text, Text, Text)>(&A::get_element);
    offers<Text (*)(Text, Text, Text)>(&A::get_parameter);
    offers<int (*)(Text, Text)>(&A::get_port);
    EXPECT_EQ(A::get_element("host", "Contact", "<sip:a@h>"), "h");
}

} // namespace
