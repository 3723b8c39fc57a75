// Which daemon on this device owns which event package.
//
// The owners are learned from the daemons' capability files (docs/capability-files.md) at start-up and
// asked for by package name afterwards. Names are compared exactly; the first record of a name counts.
//
// Thread   no lock: fill it at start-up; lookups from several threads are safe only while nobody changes it.
// Memory   the list is process-wide, exists before every static initialiser and is never destroyed.
// Errors   show only in the results.
#ifndef IMS_EVENT_MGMT_H_INCLUDED
#define IMS_EVENT_MGMT_H_INCLUDED

#include "include/ims_types.h"
#include "include/imsua_export.h"

#include <string>
#include <vector>

class IMSUA_API IMS_event_mgmt {
public:
    // Empties the shared list: constructing an object is the way to reset it. All else is static.
    IMS_event_mgmt();
    ~IMS_event_mgmt() = default;

    // Appends a record; does nothing when one of the three texts is empty. `header` names the header whose
    // value `address` is.
    static void add_owner(std::string event, std::string header, std::string address);

    // Removes the first record of `event`, if there is one.
    static void remove_owner(std::string event);

    // A part of the owner's address, as IMS_address::get_element gives it; empty without an owner.
    static std::string get_element(std::string event, std::string element);

    // A parameter of the owner's address, as IMS_address::get_parameter gives it; empty without an owner.
    static std::string get_parameter(std::string event, std::string name);

    // The port of the owner's address: -1 without an owner or a usable port, 0 when it is no address.
    static int get_port(std::string event);

    // Reads the capability files in the working directory, in order of their names, and returns the value of
    // `field` from the first one in which lines holding "field:" and lines holding `match` come to exactly
    // two hits, counted from its top. Empty when none does. Only regular files are read; a line beyond 1023
    // characters ends its file. A null `match` reads as "".
    static std::string get_value_from_cap_files(const char* match, std::string field);

    // Logs every record at level 5.
    static void print_evlist();

    // The records in the order in which they were added.
    static std::vector<IMS_EVENT_CONTACT_T>& evlist;
};

#endif
