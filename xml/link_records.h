// The small records that the documents about the access link share. Plain values, all empty at first.
#ifndef LINK_RECORDS_H_INCLUDED
#define LINK_RECORDS_H_INCLUDED

#include <string>

// The radio network a device is attached to.
struct THREEGPP_INFO_T {
    std::string access_type;
    std::string hplmn;         // home network: country and network code
    std::string utran_cell_id; // the cell
};

// The IEEE access (WLAN, Ethernet) a device is attached to.
struct IEEE_INFO_T {
    std::string access_type;
    std::string ap; // access point
};

// The device's own end of the link.
struct LINK_DEVICE_T {
    std::string name; // of the network interface
    std::string ue_mac;
    std::string ip_address;
    std::string status;
    std::string cause;
};

#endif
