#include "baseuafw/fwk_answer.h"

#include "baseuafw/fwk_frame.h"

#include <map>

namespace fwk {

namespace {

bool fits_a_line(const std::string& text)
{
    return !text.empty() && text.find('\n') == std::string::npos;
}

std::string within_limit(std::string payload)
{
    if (payload.size() > MAX_PAYLOAD) payload.clear();
    return payload;
}

// The next line of `text` from `at`; `at` moves behind its line feed.
std::string take_line(const std::string& text, std::size_t& at)
{
    const std::size_t end = text.find('\n', at);
    std::string line = text.substr(at, end - at);
    at = end == std::string::npos ? text.size() : end + 1;
    return line;
}

bool is_found(const std::string& answer)
{
    return answer == "1" || answer.compare(0, 2, "1\n") == 0;
}

} // namespace

std::string get_request(const std::string& document, const std::string& xpath)
{
    if (!fits_a_line(document) || !fits_a_line(xpath)) return "";
    return within_limit("GET " + document + '\n' + xpath);
}

std::string set_request(const std::string& document, const std::string& xpath, const std::string& value)
{
    if (!fits_a_line(document) || !fits_a_line(xpath)) return "";
    return within_limit("SET " + document + '\n' + xpath + '\n' + encode_value(value));
}

std::string mget_request(const std::string& document, const std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs)
{
    if (!fits_a_line(document) || pairs.empty()) return "";
    std::string payload = "MGET " + document;
    for (const auto& pair : pairs) {
        if (!fits_a_line(pair.tag)) return "";
        payload += '\n' + pair.tag;
    }
    return within_limit(payload);
}

bool parse_value(const std::string& answer, std::string& value)
{
    if (!is_found(answer)) return false;
    value = answer.size() > 2 ? decode_value(answer.substr(2)) : "";
    return true;
}

bool parse_stored(const std::string& answer)
{
    return is_found(answer);
}

bool parse_pairs(const std::string& answer, std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs)
{
    if (!is_found(answer)) return false;
    std::map<std::string, std::string> values;
    for (std::size_t at = 2; at < answer.size();) {
        const std::string tag = take_line(answer, at);
        values[tag] = decode_value(take_line(answer, at));
    }
    bool filled = false;
    for (auto& pair : pairs) {
        const auto value = values.find(pair.tag);
        if (value == values.end()) continue;
        pair.value = value->second;
        filled = true;
    }
    return filled;
}

bool parse_go(const std::string& answer)
{
    return answer == "GO";
}

} // namespace fwk
