// A second source file of the program: the umbrella header alone brings everything.
#include "include/imsua.h"

#include "tests/interfaces/other_unit.h"

#include <gtest/gtest.h>
#include <type_traits>

NameTables name_tables_of_the_other_unit()
{
    return {SipMethodNameTable, SipHeaderNameTable, SipTransportNameTable, SipQopNameTable};
}

namespace {

// Each class is complete here.
template <typename... Classes>
constexpr bool complete = ((sizeof(Classes) > 0) && ...);

static_assert(complete<IMS_User_Agent, IMS_queue_manager, IMS_thread_utility>, "");
static_assert(complete<IMS_UA_SipClientConnListener, IMS_UA_SipServerConnListener, IMS_UA_SipDialogListener>,
              "");
static_assert(complete<IMS_Message, IMS_MessageMsg, IMS_Notify, IMS_NotifyDALinkEv, IMS_NotifyDALinkAvailEv>,
              "");
static_assert(complete<IMS_Subscribe, IMS_SubsReg, IMS_SubsDALinkEv, IMS_SubsDALinkAvailEv>, "");
static_assert(complete<XmlData, DALinkEvXmlData, DALinkAvailEvXmlData>, "");
static_assert(complete<IMS_subscription_table, IMS_event_mgmt, IMS_address>, "");

TEST(TheUmbrellaHeader, BringsTheNameTables)
{
    EXPECT_STREQ(name_tables_of_the_other_unit().methods[0].name, "OTHER");
}

} // namespace
