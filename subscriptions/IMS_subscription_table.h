// The subscribers that a notifier serves, oldest first (RFC 6665).
//
// A plain list: the same contact may stand in it twice, lookups by contact act on the first match, nothing
// expires by itself, and nothing is saved. Whoever refreshes a subscription deletes the old entry first.
//
// Thread   no lock: one thread at a time, notifyAll included.
// Memory   owns copies of all texts; grows without bound.
// Errors   come back as -1; without memory the process ends (status 255 at construction, 1 when storing).
#ifndef IMS_SUBSCRIPTION_TABLE_H_INCLUDED
#define IMS_SUBSCRIPTION_TABLE_H_INCLUDED

#include "include/ims_types.h"
#include "include/imsua_export.h"
#include "siplib/SIPLIB.h"

#include <string>
#include <vector>

class XmlData;

class IMSUA_API IMS_subscription_table {
public:
    // An empty table. No memory: logged at level 3, exit status 255.
    IMS_subscription_table();
    // Removes every entry. Sends nothing.
    ~IMS_subscription_table();

    // Appends an entry with copies of the texts; a null one is stored as "". `expires` is in seconds. `to`
    // and `from` are stored as the NOTIFY will carry them: the subscriber's address as `to`, the notifier's
    // own as `from`. `contact` is where the NOTIFY goes and the key of every lookup.
    void store_subs(const char* contact, const char* event, int expires, const char* to, const char* from,
                    const char* callid);
    void store_subs(const std::string& contact, const char* event, int expires, const char* to,
                    const char* from, const char* callid);

    // Removes the first entry of `contact`; later ones move down by one. 0, or -1 when there is none.
    int delete_subs(std::string contact);

    // Removes every entry.
    void clear_table();

    // 0 when there is an entry of `contact`, -1 otherwise.
    int inTable(std::string contact);

    // The stored expiry of the first entry of `contact`, in seconds; -1 when there is none (or -1 was
    // stored).
    int getExpires(std::string contact);

    // The texts of the entry at `index`, counted from 0, the oldest; without its package and expiry. 0, or -1
    // with the arguments untouched when there is no such entry.
    int getEntry(int index, std::string& contact, std::string& to, std::string& from, std::string& callid);
    int getContact(int index, std::string& contact);

    // How many entries there are.
    int getTableSize();

    // Logs the table at level 5.
    void printTable();

    // Sends one NOTIFY with `body` to the contact of every entry, in order, whatever package it subscribed
    // to: From, To and Call-ID from the entry, everything else from the arguments; `local_uri` is the source
    // and the Contact. `listener` hears the responses and must outlive them; `body` is borrowed for the call.
    // A subscriber that cannot be reached is skipped. Entries added during the sweep are not visited. No
    // result: the responses tell.
    void notifyAll(SIPLIB_SIPConnector& connector, const char* local_uri, const char* event,
                   const char* content_type, XmlData& body, SIPLIB_SIPClientConnectionListener* listener,
                   const char* subscription_state, int expires);

    IMS_subscription_table(const IMS_subscription_table&) = delete;
    IMS_subscription_table& operator=(const IMS_subscription_table&) = delete;

private:
    std::vector<_SUBS_TBL_ENTRY_T>* entries_;
};

#endif
