// All public headers of the framework.
#ifndef IMSUA_H_INCLUDED
#define IMSUA_H_INCLUDED

#include "core/IMS_UA_SipClientConnListener.h"
#include "core/IMS_UA_SipDialogListener.h"
#include "core/IMS_UA_SipServerConnListener.h"
#include "core/IMS_User_Agent.h"
#include "core/IMS_queue_manager.h"
#include "core/IMS_thread_utility.h"
#include "include/ims_types.h"
#include "include/sip_names.h"
#include "subscriptions/IMS_address.h"
#include "subscriptions/IMS_event_mgmt.h"
#include "subscriptions/IMS_subscription_table.h"

#endif
