// A configuration store in memory that records every access.
#ifndef TESTS_CORE_FAKE_STORE_H_INCLUDED
#define TESTS_CORE_FAKE_STORE_H_INCLUDED

#include "baseuafw/baseuafw.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

struct FakeStore : SIP_IMS_cfg_intf {
    int get_one(const std::string& xpath, std::string& value, const std::string& document) override
    {
        if (on_read) on_read(xpath);
        reads.push_back(document + " " + xpath);
        const auto found = values.find(xpath);
        if (found == values.end()) return 0;
        value = found->second;
        return found_status;
    }
    int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document) override
    {
        for (auto& pair : pairs) {
            reads.push_back(document + " " + pair.tag);
            pair.value = values[pair.tag];
        }
        return found_status;
    }
    int set_one(const std::string& xpath, const std::string& value, const std::string& document) override
    {
        writes.push_back(document + " " + xpath + "=" + value);
        return found_status;
    }
    int wait_for_sync() override
    {
        if (on_wait) on_wait();
        return 0;
    }

    std::map<std::string, std::string> values;
    int found_status = 1;
    std::vector<std::string> reads, writes;
    std::function<void(const std::string& xpath)> on_read;
    std::function<void()> on_wait;
};

#endif
