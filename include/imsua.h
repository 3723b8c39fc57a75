// All public headers of the framework.
#ifndef IMSUA_H_INCLUDED
#define IMSUA_H_INCLUDED

#include "core/IMS_UA_SipClientConnListener.h"
#include "core/IMS_UA_SipDialogListener.h"
#include "core/IMS_UA_SipServerConnListener.h"
#include "core/IMS_UA_With_Event_Tbl.h"
#include "core/IMS_UA_With_State_Machine.h"
#include "core/IMS_User_Agent.h"
#include "core/IMS_queue_manager.h"
#include "core/IMS_thread_utility.h"
#include "include/ims_types.h"
#include "include/sip_names.h"
#include "include/tapi_wire.h"
#include "messages/IMS_Message.h"
#include "messages/IMS_MessageMsg.h"
#include "messages/IMS_Notify.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"
#include "messages/IMS_SubsDALinkAvailEv.h"
#include "messages/IMS_SubsDALinkEv.h"
#include "messages/IMS_SubsReg.h"
#include "messages/IMS_Subscribe.h"
#include "messages/IMS_reg_message.h"
#include "subscriptions/IMS_address.h"
#include "subscriptions/IMS_event_mgmt.h"
#include "subscriptions/IMS_subscription_table.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"
#include "xml/XmlData.h"
#include "xml/link_records.h"

#endif
