#include "xml/RegXmlData.h"

#include "tests/xml/document_checks.h"

#include <libxml/parser.h>

#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const NAMESPACE = "urn:ietf:params:xml:ns:reginfo";

// One contact, its attributes as given.
std::string contact(const std::string& attributes, const std::string& uri)
{
    return "<contact " + attributes + "><uri>" + uri + "</uri></contact>";
}

std::string registration(const std::string& attributes, const std::string& contacts)
{
    return "<registration " + attributes + ">" + contacts + "</registration>";
}

std::string reginfo(const std::string& registrations)
{
    return "<reginfo xmlns=\"" + std::string(NAMESPACE) + "\" version=\"0\" state=\"full\">" + registrations +
           "</reginfo>";
}

// Alice with one contact, valid by default.
const std::string ALICE = registration(
    "aor=\"sip:alice@home.example\" id=\"a7\" state=\"active\"",
    contact("id=\"76\" state=\"active\" event=\"registered\" expires=\"3600\"", "sip:alice@192.0.2.7:5070"));

class ARegistrationState : public testing::Test {
protected:
    int read(const std::string& text) { return parse(d, text); }
    // The lines of `function` alone.
    std::vector<LogRecord> lines(const std::string& function) { return log.of(function); }

    LogRecords log;
    RegXmlData d;
};

TEST_F(ARegistrationState, StartsEmpty)
{
    EXPECT_THAT(d.aors, IsEmpty());
    EXPECT_THAT(d.states, IsEmpty());
    EXPECT_THAT(d.expires_list, IsEmpty());
    EXPECT_EQ(d.match_uri + d.reginfo_state, "");
}

TEST_F(ARegistrationState, IsReadInItsDefaultNamespace)
{
    ASSERT_EQ(read(reginfo(ALICE)), 0);
    EXPECT_EQ(d.reginfo_state, "full");
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
    EXPECT_THAT(d.states, ElementsAre("active"));
    EXPECT_THAT(d.expires_list, ElementsAre(3600));
}

TEST_F(ARegistrationState, IsReadAlikeWithoutANamespaceAndWithAPrefix)
{
    ASSERT_EQ(read("<reginfo state=\"partial\">" + ALICE + "</reginfo>"), 0);
    ASSERT_EQ(read("<p:reginfo xmlns:p=\"urn:x\" state=\"full\"><p:registration aor=\"sip:bob@b\">"
                   "<p:contact state=\"terminated\"><p:uri>sip:b</p:uri></p:contact></p:registration>"
                   "</p:reginfo>"),
              0);
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example", "sip:bob@b"));
    EXPECT_THAT(d.states, ElementsAre("active", "terminated"));
    EXPECT_THAT(d.expires_list, ElementsAre(3600, -1));
    EXPECT_EQ(d.reginfo_state, "full");
}

TEST_F(ARegistrationState, LogsItsAnnouncementWithALineFeed)
{
    char text[] = "<reginfo state=\"full\"/>";
    d.buffer = text;
    d.buffer_length = sizeof text - 1;
    ASSERT_EQ(d.parseXml(), 0);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "parseXml",
                                                  "inside parseXml " + pointer(text) + " " +
                                                      std::to_string(sizeof text - 1) + "\n"}}));
}

TEST_F(ARegistrationState, WithoutRegistrationsHasAStateAndEmptyLists)
{
    ASSERT_EQ(read(reginfo("")), 0);
    EXPECT_EQ(d.reginfo_state, "full");
    EXPECT_THAT(d.aors, IsEmpty());
}

TEST_F(ARegistrationState, ThatCannotBeReadIsRefusedWithALineFeed)
{
    d.aors = {"kept"};
    EXPECT_EQ(d.parseXml(), -1);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "parseXml", "inside parseXml (nil) 0\n"},
                                                 {4, "parseXml", "NULL buffer cannot be parsed\n"}}));
    for (const std::string& text : {std::string("garbage"), std::string(), std::string(1024, '\0'),
                                    std::string("<reginfo state=\"full\">")}) {
        log.clear();
        EXPECT_EQ(read(text), -1);
        ASSERT_EQ(log.all().size(), 2u);
        EXPECT_EQ(log.all()[1], (LogRecord{4, "parseXml", "Could not create DOM\n"}));
    }
    EXPECT_THAT(d.aors, ElementsAre("kept"));
    EXPECT_EQ(d.reginfo_state, "");
}

TEST_F(ARegistrationState, UnderAnotherRootIsRefusedInSilence)
{
    for (const char* root : {"info", "Reginfo", "reginfo2", "ua-info"}) {
        log.clear();
        EXPECT_EQ(read(std::string("<") + root + " state=\"full\">" + ALICE + "</" + root + ">"), -1);
        EXPECT_EQ(log.all().size(), 1u) << root; // the announcement
    }
    EXPECT_THAT(d.aors, IsEmpty());
    EXPECT_EQ(d.reginfo_state, "");
}

TEST_F(ARegistrationState, WithoutAStateIsRefused)
{
    d.reginfo_state = "kept";
    EXPECT_EQ(read("<reginfo version=\"0\">" + ALICE + "</reginfo>"), -1);
    EXPECT_EQ(lines("getValues"), (std::vector<LogRecord>{{4, "getValues", "should not happen\n"}}));
    EXPECT_EQ(d.reginfo_state, "kept");
    EXPECT_THAT(d.aors, IsEmpty());
}

TEST_F(ARegistrationState, MayBeEmptyText)
{
    ASSERT_EQ(read("<reginfo state=\"\">" + ALICE + "</reginfo>"), 0);
    EXPECT_EQ(d.reginfo_state, "");
    EXPECT_EQ(d.aors.size(), 1u);
}

TEST_F(ARegistrationState, OfAnUnknownKindIsKeptAsItIs)
{
    ASSERT_EQ(read("<reginfo state=\" Half \"/>"), 0);
    EXPECT_EQ(d.reginfo_state, " Half ");
}

TEST_F(ARegistrationState, HasAnEntryForEachRegistrationInDocumentOrder)
{
    ASSERT_EQ(
        read(reginfo("\n" + registration("aor=\"sip:a@x\"", contact("state=\"active\" expires=\"1\"", "u")) +
                     "<!-- between -->text" +
                     registration("aor=\"sip:b@x\"", contact("state=\"terminated\"", "u")) +
                     registration("aor=\"sip:c@x\"", contact("state=\"active\" expires=\"3\"", "u")))),
        0);
    EXPECT_THAT(d.aors, ElementsAre("sip:a@x", "sip:b@x", "sip:c@x"));
    EXPECT_THAT(d.states, ElementsAre("active", "terminated", "active"));
    EXPECT_THAT(d.expires_list, ElementsAre(1, -1, 3));
}

TEST_F(ARegistrationState, IsAppendedToWhatWasReadBefore)
{
    ASSERT_EQ(read(reginfo(ALICE)), 0);
    ASSERT_EQ(read(reginfo(ALICE)), 0);
    EXPECT_EQ(d.aors.size(), 2u);
    EXPECT_EQ(d.states.size(), 2u);
    EXPECT_EQ(d.expires_list.size(), 2u);
}

TEST_F(ARegistrationState, HasNoEntryForARegistrationWithoutContacts)
{
    ASSERT_EQ(read(reginfo(registration("aor=\"sip:a@x\"", "") + ALICE)), 0);
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
}

TEST_F(ARegistrationState, NeedsNoAddressOfARegistrationWithoutTheLocalContact)
{
    d.match_uri = "192.0.2.7";
    ASSERT_EQ(read(reginfo(registration("id=\"r\"", contact("state=\"active\"", "sip:other")) + ALICE)), 0);
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
}

TEST_F(ARegistrationState, EndsAtARegistrationWithoutAnAddressAndKeepsEarlierOnes)
{
    EXPECT_EQ(read(reginfo(ALICE + registration("id=\"r\"", contact("state=\"active\"", "u")) + ALICE)), -1);
    EXPECT_EQ(lines("getValues"), (std::vector<LogRecord>{{4, "getValues", "Malformed xml content\n"}}));
    EXPECT_EQ(d.aors.size(), 1u);
    EXPECT_EQ(d.states.size(), 1u);
    EXPECT_EQ(d.expires_list.size(), 1u);
    EXPECT_EQ(d.reginfo_state, "full");
}

TEST_F(ARegistrationState, SkipsARegistrationWhoseContactHasNoState)
{
    ASSERT_EQ(read(reginfo(registration("aor=\"sip:a@x\"", contact("expires=\"9\"", "u")) + ALICE)), 0);
    EXPECT_EQ(log.of("get_reg_info"),
              (std::vector<LogRecord>{{4, "get_reg_info", "contact does not have sate attib\n"}}));
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
    EXPECT_THAT(d.expires_list, ElementsAre(3600));
}

// A registration that is skipped is not asked for its address.
TEST_F(ARegistrationState, GoesOnBehindAContactWithoutAStateAlsoWhenTheAddressIsMissing)
{
    ASSERT_EQ(read(reginfo(registration("id=\"r\"", contact("id=\"c\"", "u")) + ALICE)), 0);
    EXPECT_THAT(lines("getValues"), IsEmpty());
    EXPECT_EQ(d.aors.size(), 1u);
}

TEST_F(ARegistrationState, KeepsAddressesAsTheyAreWritten)
{
    ASSERT_EQ(read(reginfo(registration("aor=\"\"", contact("state=\"\"", "u")) +
                           registration("aor=\" sip:a&amp;b&lt;&#65; \"", contact("state=\"x\"", "u")))),
              0);
    EXPECT_THAT(d.aors, ElementsAre("", " sip:a&b<A "));
    EXPECT_THAT(d.states, ElementsAre("", "x"));
}

TEST_F(ARegistrationState, IsNeverWritten)
{
    expect_never_encodes<RegXmlData>();
}

// expires: seconds as atoi reads them, on every host alike.
TEST_F(ARegistrationState, ReadsExpiriesAsLeadingDigits)
{
    const struct {
        const char* attribute;
        int seconds;
    } expiries[] = {{"", -1},
                    {"expires=\"\"", 0},
                    {"expires=\"0\"", 0},
                    {"expires=\"7200\"", 7200},
                    {"expires=\" 12 s\"", 12},
                    {"expires=\"never\"", 0},
                    {"expires=\"-5\"", -5},
                    {"expires=\"2147483648\"", 2147483647},
                    {"expires=\"-99999999999\"", -2147483647 - 1}};
    for (const auto& expiry : expiries) {
        RegXmlData each;
        ASSERT_EQ(
            parse(each, reginfo(registration("aor=\"a\"",
                                             contact(std::string("state=\"s\" ") + expiry.attribute, "u")))),
            0);
        EXPECT_THAT(each.expires_list, ElementsAre(expiry.seconds)) << expiry.attribute;
    }
}

// ---- which contact is the local one

class ALocalContact : public ARegistrationState {
protected:
    // The states found in one registration of the three contacts, one of which has blanks around its URI.
    std::vector<std::string> found_for(const std::string& match_uri)
    {
        RegXmlData one;
        one.match_uri = match_uri;
        EXPECT_EQ(parse(one, reginfo(registration("aor=\"sip:a@x\"",
                                                  contact("state=\"first\"", "sip:a@192.0.2.1") +
                                                      contact("state=\"second\"", "\n  sip:a@192.0.2.2  ") +
                                                      contact("state=\"third\"", "sip:a@192.0.2.2;x")))),
                  0);
        return one.states;
    }
};

TEST_F(ALocalContact, IsTheFirstWhoseAddressContainsTheText)
{
    EXPECT_THAT(found_for("sip:a@192.0.2.1"), ElementsAre("first"));
    EXPECT_THAT(found_for("192.0.2.2"), ElementsAre("second"));
    EXPECT_THAT(found_for("2.2;x"), ElementsAre("third"));
    EXPECT_THAT(found_for("SIP:a@192.0.2.1"), IsEmpty());
    EXPECT_THAT(found_for("192.0.2.9"), IsEmpty());
}

TEST_F(ALocalContact, IsTheFirstOfAllWhenNoTextIsGiven)
{
    EXPECT_THAT(found_for(""), ElementsAre("first"));
}

TEST_F(ALocalContact, NeedsNoAddressWhenNoTextIsGiven)
{
    ASSERT_EQ(read(reginfo(registration("aor=\"a\"", "<contact state=\"s\"/>"))), 0);
    EXPECT_THAT(d.states, ElementsAre("s"));
    d.match_uri = "x";
    ASSERT_EQ(read(reginfo(registration("aor=\"a\"", "<contact state=\"s\"/>"))), 0);
    EXPECT_EQ(d.states.size(), 1u);
}

// The first match is the local contact, even when it turns out to be unusable.
TEST_F(ALocalContact, WithoutAStateIsNotReplacedByALaterOne)
{
    ASSERT_EQ(
        read(reginfo(registration("aor=\"a\"", contact("id=\"1\"", "u") + contact("state=\"s\"", "u")))), 0);
    EXPECT_THAT(d.states, IsEmpty());
}

TEST_F(ALocalContact, OfALaterRegistrationTakesNothingFromAnEarlierOne)
{
    ASSERT_EQ(read(reginfo(registration("aor=\"a\"", contact("state=\"s\" expires=\"5\"", "u")) +
                           registration("aor=\"b\"", contact("state=\"t\"", "u")))),
              0);
    EXPECT_THAT(d.expires_list, ElementsAre(5, -1));
}

TEST_F(ALocalContact, IsAChildOfItsRegistrationAndNoDeeper)
{
    ASSERT_EQ(read(reginfo("<x>" + ALICE + "</x>" +
                           registration("aor=\"a\"", "<x>" + contact("state=\"s\"", "u") + "</x>"))),
              0);
    EXPECT_THAT(d.aors, IsEmpty());
}

// ---- what only looks like an element or an attribute

TEST_F(ARegistrationState, TakesInstructionsNamedLikeElementsForWhatTheyAre)
{
    ASSERT_EQ(read("<reginfo state=\"full\"><?registration aor=\"a\"?>" +
                   registration("aor=\"b\"", "<?contact state=\"s\"?><contact state=\"t\"><?uri no?>"
                                             "<uri>yes</uri></contact>") +
                   "</reginfo>"),
              0);
    EXPECT_THAT(d.aors, ElementsAre("b"));
    EXPECT_THAT(d.states, ElementsAre("t"));
}

TEST_F(ARegistrationState, TakesEntityReferencesNamedLikeElementsForWhatTheyAre)
{
    ASSERT_EQ(
        read("<!DOCTYPE reginfo [<!ENTITY registration \"r\"><!ENTITY contact \"c\"><!ENTITY uri \"u\">]>"
             "<reginfo state=\"full\">&registration;" +
             registration("aor=\"a\"", "&contact;<contact state=\"s\">&uri;<uri>x</uri></contact>") +
             "</reginfo>"),
        0);
    EXPECT_THAT(d.aors, ElementsAre("a"));
    EXPECT_THAT(d.states, ElementsAre("s"));
}

TEST_F(ARegistrationState, DoesNotTakeADeclaredAttributeForOne)
{
    EXPECT_EQ(read("<!DOCTYPE reginfo [<!ATTLIST registration aor CDATA \"x\">]><reginfo state=\"full\">" +
                   registration("id=\"r\"", contact("state=\"s\"", "u")) + "</reginfo>"),
              -1);
    EXPECT_EQ(lines("getValues"), (std::vector<LogRecord>{{4, "getValues", "Malformed xml content\n"}}));
    EXPECT_EQ(
        read("<!DOCTYPE reginfo [<!ATTLIST reginfo state CDATA \"full\">]><reginfo>" + ALICE + "</reginfo>"),
        -1);
    EXPECT_TRUE(log.has(4, "getValues", "should not happen\n"));
    EXPECT_EQ(read("<!DOCTYPE reginfo [<!ATTLIST contact state CDATA \"s\" expires CDATA \"9\">]>"
                   "<reginfo state=\"full\">" +
                   registration("aor=\"a\"", contact("id=\"c\"", "u")) + "</reginfo>"),
              0);
    EXPECT_TRUE(log.has(4, "get_reg_info", "contact does not have sate attib\n"));
    EXPECT_THAT(d.aors, IsEmpty());
    EXPECT_EQ(read("<!DOCTYPE reginfo [<!ATTLIST contact expires CDATA \"9\">]><reginfo state=\"full\">" +
                   registration("aor=\"a\"", contact("state=\"s\"", "u")) + "</reginfo>"),
              0);
    EXPECT_THAT(d.expires_list, ElementsAre(-1));
}

TEST_F(ARegistrationState, PrefersAnAttributeThatIsThereToItsDeclaration)
{
    ASSERT_EQ(read("<!DOCTYPE reginfo [<!ATTLIST registration aor CDATA \"x\">]><reginfo state=\"full\">" +
                   ALICE + "</reginfo>"),
              0);
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
}

// An attribute counts by its local name; the first one wins.
TEST_F(ARegistrationState, ReadsAttributesInANamespaceToo)
{
    ASSERT_EQ(read("<reginfo xmlns:p=\"urn:p\" p:state=\"partial\" state=\"full\">" +
                   registration("p:aor=\"a\"", contact("p:state=\"s\" p:expires=\"4\"", "u")) + "</reginfo>"),
              0);
    EXPECT_EQ(d.reginfo_state, "partial");
    EXPECT_THAT(d.aors, ElementsAre("a"));
    EXPECT_THAT(d.states, ElementsAre("s"));
    EXPECT_THAT(d.expires_list, ElementsAre(4));
}

// The value of an attribute is what its first child node holds.
TEST_F(ARegistrationState, ReadsOfAnEntityInAnAttributeItsTextAlone)
{
    ASSERT_EQ(read("<!DOCTYPE reginfo [<!ENTITY e \"fu\">]><reginfo state=\"&e;ll\">" +
                   registration("aor=\"x&e;\"", contact("state=\"s\"", "u")) + "</reginfo>"),
              0);
    EXPECT_EQ(d.reginfo_state, "fu");
    EXPECT_THAT(d.aors, ElementsAre("x"));
}

TEST_F(ARegistrationState, ReadsAnEmptyEntityInAnAttributeAsEmpty)
{
    ASSERT_EQ(read("<!DOCTYPE reginfo [<!ENTITY e \"\">]><reginfo state=\"&e;\">" +
                   registration("aor=\"&e;\"", contact("state=\"&e;\" expires=\"&e;\"", "u")) + "</reginfo>"),
              0);
    EXPECT_EQ(d.reginfo_state, "");
    EXPECT_THAT(d.aors, ElementsAre(""));
    EXPECT_THAT(d.expires_list, ElementsAre(0));
}

// ---- the parts, on trees of a caller's own

class ATree : public testing::Test {
protected:
    xmlNode* root_of(const std::string& text)
    {
        doc_.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0));
        return xmlDocGetRootElement(doc_.get());
    }
    std::string uri_of(const std::string& contact)
    {
        std::string uri = "before";
        d.get_uri(root_of(contact), uri);
        return uri;
    }
    struct Free {
        void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
    };
    LogRecords log;
    RegXmlData d;
    std::unique_ptr<xmlDoc, Free> doc_;
};

TEST_F(ATree, WithoutARootIsRefusedInSilence)
{
    EXPECT_EQ(d.getValues(nullptr), -1);
    EXPECT_EQ(d.getValues(root_of("<registration state=\"full\"/>")), -1);
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST_F(ATree, IsReadFromItsRoot)
{
    EXPECT_EQ(d.getValues(root_of(reginfo(ALICE))), 0);
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
    EXPECT_THAT(log.all(), IsEmpty());
}

// The parser gives even `aor=""` a text node; a tree that a program built need not have one.
TEST_F(ATree, HasEmptyTextsWhereAttributesHoldNothingAtAll)
{
    const auto mark = [](xmlNode* node, const char* name) {
        xmlNewProp(node, reinterpret_cast<const xmlChar*>(name), nullptr);
    };
    xmlNode* root = root_of("<reginfo state=\"full\"><registration><contact/></registration></reginfo>");
    mark(root->children, "aor");
    mark(root->children->children, "state");
    mark(root->children->children, "expires");
    EXPECT_EQ(d.getValues(root), 0);
    EXPECT_THAT(d.aors, ElementsAre(""));
    EXPECT_THAT(d.states, ElementsAre(""));
    EXPECT_THAT(d.expires_list, ElementsAre(0));
}

TEST_F(ATree, WhoseStateHoldsNothingAtAllIsRefused)
{
    xmlNode* root = root_of("<reginfo/>");
    xmlNewProp(root, reinterpret_cast<const xmlChar*>("state"), nullptr);
    d.reginfo_state = "kept";
    EXPECT_EQ(d.getValues(root), -1);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "getValues", "should not happen\n"}}));
    EXPECT_EQ(d.reginfo_state, "kept");
}

TEST_F(ATree, OfARegistrationGivesTheLocalContactsStateAndExpiry)
{
    std::string state = "before";
    int expires = 77;
    bool found = false;
    d.get_reg_info(root_of(ALICE), state, expires, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(state, "active");
    EXPECT_EQ(expires, 3600);
    d.get_reg_info(root_of(registration("aor=\"a\"", contact("state=\"s\"", "u"))), state, expires, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(expires, -1);
}

TEST_F(ATree, WithoutTheLocalContactLeavesStateAndExpiry)
{
    std::string state = "before";
    int expires = 77;
    bool found = true;
    d.match_uri = "elsewhere";
    d.get_reg_info(root_of(ALICE), state, expires, found);
    EXPECT_FALSE(found);
    found = true;
    d.get_reg_info(nullptr, state, expires, found);
    EXPECT_FALSE(found);
    EXPECT_EQ(state, "before");
    EXPECT_EQ(expires, 77);
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST_F(ATree, OfAContactWithoutAStateLeavesStateAndExpiryToo)
{
    std::string state = "before";
    int expires = 77;
    bool found = true;
    d.get_reg_info(root_of(registration("aor=\"a\"", contact("expires=\"1\"", "u"))), state, expires, found);
    EXPECT_FALSE(found);
    EXPECT_EQ(state, "before");
    EXPECT_EQ(expires, 77);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "get_reg_info", "contact does not have sate attib\n"}}));
}

TEST_F(ATree, OfAContactGivesTheWholeTextOfItsFirstUriUntrimmed)
{
    EXPECT_EQ(uri_of("<contact><x/><uri> sip:a\n</uri><uri>second</uri></contact>"), " sip:a\n");
    EXPECT_EQ(uri_of("<contact><uri>sip:<b>a</b>&amp;<![CDATA[<c>]]></uri></contact>"), "sip:a&<c>");
    EXPECT_EQ(uri_of("<!DOCTYPE contact [<!ENTITY e \"in\">]><contact><uri>a&e;b</uri></contact>"), "ainb");
    EXPECT_EQ(uri_of("<contact><uri/><uri>second</uri></contact>"), "");
    EXPECT_EQ(uri_of("<contact><x><uri>deeper</uri></x></contact>"), "");
    EXPECT_EQ(uri_of("<contact><URI>other</URI></contact>"), "");
    std::string uri = "before";
    d.get_uri(nullptr, uri);
    EXPECT_EQ(uri, "");
}

} // namespace
