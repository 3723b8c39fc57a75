// The sweep: one NOTIFY to every subscriber of a table.
#include "core/IMS_User_Agent.h"
#include "messages/IMS_Notify.h"
#include "subscriptions/IMS_subscription_table.h"
#include "xml/XmlData.h"

void IMS_subscription_table::notifyAll(SIPLIB_SIPConnector& connector, const char* local_uri,
                                       const char* event, const char* content_type, XmlData& body,
                                       SIPLIB_SIPClientConnectionListener* listener,
                                       const char* subscription_state, int expires)
{
    const int count = getTableSize(); // entries added during the sweep are not visited
    std::string contact;              // the four keep their memory from one entry to the next
    std::string to;
    std::string from;
    std::string callid;
    for (int i = 0; i < count; ++i) {
        if (getEntry(i, contact, to, from, callid) != 0) continue; // removed during the sweep
        SIPLIB_SIPObject* const opened = IMS_User_Agent::conn_open(connector, contact.c_str(), local_uri);
        SIPLIB_SIPClientConnection* const conn = opened ? opened->asClientConnection() : nullptr;
        if (!conn) continue;
        IMS_Notify notify(conn, from.c_str(), to.c_str(), local_uri, event, content_type, &body,
                          subscription_state, expires, -1);
        conn->setListener(listener);
        notify.set_header("Call-ID", callid.c_str());
        notify.send();
    }
}
