#include "subscriptions/IMS_subscription_table.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

using Entries = std::vector<_SUBS_TBL_ENTRY_T>;

void free_texts(const _SUBS_TBL_ENTRY_T& entry)
{
    std::free(entry.contact);
    std::free(entry.event_package);
    std::free(entry.to);
    std::free(entry.from);
    std::free(entry.call_id);
}

char* copied(const char* text)
{
    return ::strdup(imsua::text(text));
}

bool is_complete(const _SUBS_TBL_ENTRY_T& entry)
{
    return entry.contact && entry.event_package && entry.to && entry.from && entry.call_id;
}

// False, with nothing changed, when there is no memory for one more.
bool append(Entries& entries, const _SUBS_TBL_ENTRY_T& entry)
{
    try {
        entries.push_back(entry);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

Entries::iterator find_contact(Entries& entries, const std::string& contact)
{
    return std::find_if(entries.begin(), entries.end(),
                        [&](const _SUBS_TBL_ENTRY_T& entry) { return contact == entry.contact; });
}

} // namespace

IMS_subscription_table::IMS_subscription_table() : entries_(new (std::nothrow) Entries)
{
    if (entries_) return;
    IMS_log::loginfo(3, "IMS_subscription_table", "Could not allocate memory for subsciption table");
    IMS_daemon::fatal_exit(-1);
}

IMS_subscription_table::~IMS_subscription_table()
{
    clear_table();
    delete entries_;
}

void IMS_subscription_table::store_subs(const char* contact, const char* event, int expires, const char* to,
                                        const char* from, const char* callid)
{
    const _SUBS_TBL_ENTRY_T entry = {copied(contact), copied(event), expires,
                                     copied(to),      copied(from),  copied(callid)};
    if (is_complete(entry) && append(*entries_, entry)) return;
    free_texts(entry);
    IMS_log::loginfo(3, "store_subs", "Could not allocate memory for subscription entry");
    IMS_daemon::fatal_exit(1);
}

void IMS_subscription_table::store_subs(const std::string& contact, const char* event, int expires,
                                        const char* to, const char* from, const char* callid)
{
    store_subs(contact.c_str(), event, expires, to, from, callid);
}

int IMS_subscription_table::delete_subs(std::string contact)
{
    const auto entry = find_contact(*entries_, contact);
    if (entry == entries_->end()) return -1;
    free_texts(*entry);
    entries_->erase(entry);
    return 0;
}

void IMS_subscription_table::clear_table()
{
    for (const auto& entry : *entries_)
        free_texts(entry);
    entries_->clear();
}

int IMS_subscription_table::inTable(std::string contact)
{
    return find_contact(*entries_, contact) == entries_->end() ? -1 : 0;
}

int IMS_subscription_table::getExpires(std::string contact)
{
    const auto entry = find_contact(*entries_, contact);
    return entry == entries_->end() ? -1 : entry->expires;
}

int IMS_subscription_table::getEntry(int index, std::string& contact, std::string& to, std::string& from,
                                     std::string& callid)
{
    if (index < 0 || index >= getTableSize()) return -1;
    const _SUBS_TBL_ENTRY_T& entry = (*entries_)[static_cast<Entries::size_type>(index)];
    contact = entry.contact;
    to = entry.to;
    from = entry.from;
    callid = entry.call_id;
    return 0;
}

int IMS_subscription_table::getContact(int index, std::string& contact)
{
    if (index < 0 || index >= getTableSize()) return -1;
    contact = (*entries_)[static_cast<Entries::size_type>(index)].contact;
    return 0;
}

int IMS_subscription_table::getTableSize()
{
    return static_cast<int>(entries_->size());
}

void IMS_subscription_table::printTable()
{
    const char* const here = "printTable";
    IMS_log::loginfo(5, here, "===========START OF TABLE======================");
    for (const auto& entry : *entries_) {
        IMS_log::loginfo(5, here, "CONTACT: %s", entry.contact);
        IMS_log::loginfo(5, here, "EVENT-PACKAGE: %s", entry.event_package);
        IMS_log::loginfo(5, here, "TO %s", entry.to);
        IMS_log::loginfo(5, here, "FROM %s", entry.from);
        IMS_log::loginfo(5, here, "CALL_ID %s", entry.call_id);
        IMS_log::loginfo(5, here, "Expires: %d", entry.expires);
        IMS_log::loginfo(5, here, "--------------------------------");
    }
    IMS_log::loginfo(5, here, "===========END OF TABLE==================");
}
