// Telephony messages coming in: splits what was read into messages and queues them, either as they are (kind
// 0) or, when a mapping table is installed, as the daemon's own records (kind 10). docs/telephony.md tells
// the protocol.
//
//   constexpr TAPI_EVENT_ACTION_TABLE_T table[] = {{4660, &dial}, {TAPI_TABLE_END, nullptr}};
//   IMS_Tapi_ifc ifc(&agent);
//   ifc.initialize_event_tbl(table);
//   agent.install_tapi_ifc(&ifc);
//   agent.create_all_external_descriptors();
//
// Thread   handle_tapi_message and the actions of the table run on the agent's external-interface thread, one
//          call at a time; the rest on the main thread.
// Memory   borrows the agent and the table, both must outlive it; it must outlive the agent's thread.
// Errors   no memory: the rest of the bytes is dropped with a line in the log.
#ifndef IMS_TAPI_IFC_H_INCLUDED
#define IMS_TAPI_IFC_H_INCLUDED

#include "core/table_checks.h"
#include "include/ims_types.h"
#include "include/imsua_export.h"

namespace imsua {
class MappedHold;
}
class IMS_User_Agent;

class IMSUA_API IMS_Tapi_ifc {
public:
    // Without a table. A null `ua`: messages are split and mapped, but queued nowhere, and freed.
    explicit IMS_Tapi_ifc(IMS_User_Agent* ua);
    virtual ~IMS_Tapi_ifc();

    // For a derived class that has something to set up on its side. The base returns 0; nothing here calls
    // it.
    virtual int create_listener();

    // Installs the mapping table, null for none. It ends with a row TAPI_TABLE_END, and every other row has
    // an action. A batch of messages under way ends with the table it began with.
    //
    // An action gets the received message and returns null ("nothing of mine") or a record from malloc or
    // calloc that begins with IMS_MAPPED_MSG_S and is trivially destructible; its body is null or another
    // such block. The queue frees both. The message and its body are freed right after the action: it must
    // not return `msg` nor keep a pointer into it (but may take the body away by setting `msg->body` to
    // null).
    void initialize_event_tbl(const TAPI_EVENT_ACTION_TABLE_T* table);

    // The same from a constant that the compiler checks (core/table_checks.h): a table with a mistake does
    // not compile. `Table` is a constexpr TAPI_EVENT_ACTION_TABLE_T[].
    //
    //     ifc.initialize_event_tbl<mapping>();
    template <const auto& Table>
    void initialize_event_tbl()
    {
        static_assert(imsua::is_sound<Table>);
        initialize_event_tbl(Table);
    }

    // Queues every message of the `len` bytes at `buf`, in order. Fewer than 16 bytes, or null: level 4,
    // nothing is queued; fewer than 16 at the end are dropped silently. A body that claims more bytes than
    // there are keeps its claimed length, the missing ones are zero, and it is the last message. With a table
    // a message whose action gives null (or that has no row) queues the record before it in the same `buf`
    // once more; a record that is queued several times is freed once, after its last dispatch.
    void handle_tapi_message(unsigned char* buf, int len);

    // The record that the action of the first row for `msg->msg_id` returns; null without a table, a message
    // or a row. Never returns when that row has no action.
    void* handle_tapi_event(TAC_MSG_S* msg);

    IMS_Tapi_ifc(const IMS_Tapi_ifc&) = delete;
    IMS_Tapi_ifc& operator=(const IMS_Tapi_ifc&) = delete;

protected:
    IMS_User_Agent* const ua_;
    const TAPI_EVENT_ACTION_TABLE_T* tapi_map_ptr; // load_shared and store_shared; null until installed

private:
    void queue_raw(TAC_MSG_S* message);
    bool queue_mapped(TAC_MSG_S* message, const TAPI_EVENT_ACTION_TABLE_T* table, imsua::MappedHold& latest);
};

#endif
