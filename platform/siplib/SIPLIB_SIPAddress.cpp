#include "siplib/SIPLIB.h"
#include "siplib/address_text.h"
#include "siplib/guarded.h"
#include "siplib/sip_chars.h"
#include "siplib/sip_params.h"

#include <atomic>
#include <new>
#include <utility>

namespace siplib {
namespace {

// The parts are views into `value_`, which never changes; what setParameter() changes lives in `params_`.
class ParsedAddress final : public SIPLIB_SIPAddress {
public:
    explicit ParsedAddress(std::string&& value) : value_(std::move(value)) {}
    ParsedAddress(const ParsedAddress&) = delete;
    ParsedAddress& operator=(const ParsedAddress&) = delete;
    bool parse(const std::string& header);

    int getDisplayName(std::string& out) const override;
    int getScheme(std::string& out) const override;
    int toString(std::string& out) const override;
    int getPort(int& out) const override;
    int getParameter(const std::string& name, std::string& out) const override;
    int setParameter(const std::string& name, const std::string& value) override;
    int getHost(std::string& out) const override { return copy_part(parts_.uri.host, out); }
    int getURI(std::string& out) const override { return copy_part(parts_.uri.text, out); }
    int getUser(std::string& out) const override { return copy_part(parts_.uri.user, out); }

private:
    static int copy_part(std::string_view part, std::string& out);
    bool find(std::string_view name, Param& found) const;
    int default_port() const;

    const std::string value_;
    AddressParts parts_;
    std::string params_; // header parameters without blanks, ready for printing
};

void append_param(std::string& text, std::string_view name, std::string_view value)
{
    text += ';';
    text += name;
    if (value.empty()) return;
    text += '=';
    text += value;
}

// A value of a header parameter as it is printed: as it is where it is one already, else in quotes.
std::string printed_value(const std::string& value)
{
    const bool printable =
        value.empty() || only_chars(value, chars_value, false) || quoted_length(value) == value.size();
    return printable ? value : in_quotes(value);
}

// `params` with `name` set: in the place of the first one of that name, which then is the only one, or at the
// end.
std::string with_param(std::string_view params, const std::string& name, const std::string& value)
{
    std::string changed;
    bool placed = false;
    Param param;
    while (take_param(params, ParamKind::header, param)) {
        if (!same_name(param.name, name))
            append_param(changed, param.name, param.value);
        else if (!std::exchange(placed, true))
            append_param(changed, name, value);
    }
    if (!placed) append_param(changed, name, value);
    return changed;
}

bool ParsedAddress::parse(const std::string& header)
{
    if (!split_address(header, value_, parts_)) return false;
    Param param;
    for (std::string_view rest = parts_.params; take_param(rest, ParamKind::header, param);)
        append_param(params_, param.name, param.value);
    return true;
}

int ParsedAddress::copy_part(std::string_view part, std::string& out)
{
    if (part.empty()) return SIPLIB_ERR_NOT_FOUND;
    return guarded([&] {
        out.assign(part);
        return SIPLIB_OK;
    });
}

int ParsedAddress::getDisplayName(std::string& out) const
{
    return guarded([&] { return copy_part(unquoted(parts_.display), out); });
}

int ParsedAddress::getScheme(std::string& out) const
{
    return guarded([&] {
        std::string scheme(parts_.uri.scheme);
        for (char& c : scheme)
            c = lower(c);
        out = std::move(scheme);
        return SIPLIB_OK;
    });
}

int ParsedAddress::toString(std::string& out) const
{
    return guarded([&] {
        const std::string display = unquoted(parts_.display);
        std::string text;
        text.reserve(2 * display.size() + parts_.uri.text.size() + params_.size() + 5); // with escapes
        if (!display.empty()) text.append(in_quotes(display)).append(1, ' ');
        text += '<';
        text += parts_.uri.text;
        text += '>';
        text += params_;
        out = std::move(text);
        return SIPLIB_OK;
    });
}

int ParsedAddress::getPort(int& out) const
{
    const bool has_host = !parts_.uri.host.empty();
    if (!has_host) return SIPLIB_ERR_NOT_FOUND;
    const int port = parts_.uri.has_port ? port_number(parts_.uri.port) : default_port();
    if (port == 0) return SIPLIB_ERR_SYNTAX;
    out = port;
    return SIPLIB_OK;
}

// RFC 3261 section 19.1.2: 5061 where TLS is asked for, by the scheme or by the transport.
int ParsedAddress::default_port() const
{
    Param transport;
    const bool tls = parts_.uri.kind == UriParts::Kind::sips ||
                     (find("transport", transport) && same_name(transport.value, "tls"));
    return tls ? 5061 : 5060;
}

bool ParsedAddress::find(std::string_view name, Param& found) const
{
    return find_param(parts_.uri.params, ParamKind::uri, name, found) ||
           find_param(params_, ParamKind::header, name, found);
}

int ParsedAddress::getParameter(const std::string& name, std::string& out) const
{
    return guarded([&]() -> int {
        Param param;
        if (!find(name, param)) return SIPLIB_ERR_NOT_FOUND;
        out = unquoted(param.value);
        return SIPLIB_OK;
    });
}

int ParsedAddress::setParameter(const std::string& name, const std::string& value)
{
    if (!only_chars(name, chars_token, false)) return SIPLIB_ERR_ARGUMENT;
    if (leading_chars(value, chars_unbroken) < value.size()) return SIPLIB_ERR_ARGUMENT;
    return guarded([&] {
        params_ = with_param(params_, name, printed_value(value));
        return SIPLIB_OK;
    });
}

std::atomic<SIPLIB_SIPAddress::Factory> replacement{nullptr};

} // namespace
} // namespace siplib

SIPLIB_SIPAddress* SIPLIB_SIPAddress::createSIPAddressObject(std::string header, std::string value)
{
    if (const Factory factory = siplib::replacement.load()) return factory(header, value);
    auto* address = new (std::nothrow) siplib::ParsedAddress(std::move(value));
    if (!address) return nullptr;
    const int status =
        siplib::guarded([&] { return address->parse(header) ? SIPLIB_OK : SIPLIB_ERR_SYNTAX; });
    if (status == SIPLIB_OK) return address;
    delete address;
    return nullptr;
}

SIPLIB_SIPAddress::Factory SIPLIB_SIPAddress::setFactory(Factory factory)
{
    return siplib::replacement.exchange(factory);
}
