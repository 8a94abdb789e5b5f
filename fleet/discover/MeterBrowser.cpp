#include "MeterBrowser.h"

#include "FleetText.h"

#include <algorithm>
#include <array>
#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/simple-watch.h>
#include <chrono>
#include <memory>
#include <net/if.h>
#include <string_view>

namespace {

constexpr const char* serviceType = "_scpi-raw._tcp";
constexpr std::string_view manufacturer = "QUORVEL-TECHNOLOGIES";

struct Browser {
    std::unique_ptr<AvahiSimplePoll, decltype(&avahi_simple_poll_free)> poll{
        nullptr, avahi_simple_poll_free};
    AvahiClient* client = nullptr;
    std::vector<AnnouncedMeter>* meters = nullptr;
    size_t resolving = 0;   ///< announcements whose address is being asked for
    bool hasListed = false; ///< the browser knows nothing more for now
    std::string error;
};

bool isComplete(const Browser& browser) {
    return (browser.hasListed && browser.resolving == 0) || !browser.error.empty();
}

std::string textRecord(AvahiStringList* records, const char* key) {
    AvahiStringList* found = avahi_string_list_find(records, key);
    char* value = nullptr;
    if (found == nullptr || avahi_string_list_get_pair(found, nullptr, &value, nullptr) < 0 ||
        value == nullptr) {
        return {};
    }
    std::string text = value;
    avahi_free(value);
    return text;
}

/// A link-local IPv6 address is of use with its interface only.
std::string hostOf(const AvahiAddress& address, AvahiIfIndex interface) {
    std::array<char, AVAHI_ADDRESS_STR_MAX> text{};
    avahi_address_snprint(text.data(), text.size(), &address);
    std::string host = text.data();
    std::array<char, IF_NAMESIZE> name{};
    if (address.proto == AVAHI_PROTO_INET6 && host.starts_with("fe80") &&
        if_indextoname(static_cast<unsigned>(interface), name.data()) != nullptr) {
        host += "%";
        host += name.data();
    }
    return host;
}

bool isIpv6(const AnnouncedMeter& meter) {
    return meter.address.host.find(':') != std::string::npos;
}

void note(std::vector<AnnouncedMeter>& meters, AnnouncedMeter meter) {
    const auto known = std::ranges::find(meters, meter.name, &AnnouncedMeter::name);
    if (known == meters.end()) {
        meters.push_back(std::move(meter));
    } else if (isIpv6(*known) && !isIpv6(meter)) {
        *known = std::move(meter);
    }
}

void onResolved(AvahiServiceResolver* resolver, AvahiIfIndex interface, AvahiProtocol,
                AvahiResolverEvent event, const char* name, const char*, const char*, const char*,
                const AvahiAddress* address, uint16_t port, AvahiStringList* records,
                AvahiLookupResultFlags, void* data) {
    auto& browser = *static_cast<Browser*>(data);
    --browser.resolving;
    if (event == AVAHI_RESOLVER_FOUND && textRecord(records, "Manufacturer") == manufacturer) {
        note(*browser.meters, {name,
                               {hostOf(*address, interface), port},
                               FleetText_clean(textRecord(records, "Model"))});
    }
    avahi_service_resolver_free(resolver);
}

void resolve(Browser& browser, AvahiIfIndex interface, AvahiProtocol protocol, const char* name,
             const char* type, const char* domain) {
    if (avahi_service_resolver_new(browser.client, interface, protocol, name, type, domain,
                                   AVAHI_PROTO_UNSPEC, AvahiLookupFlags{}, onResolved,
                                   &browser) != nullptr) {
        ++browser.resolving;
    }
}

void onBrowsed(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
               AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
               AvahiLookupResultFlags, void* data) {
    auto& browser = *static_cast<Browser*>(data);
    switch (event) {
    case AVAHI_BROWSER_NEW:
        resolve(browser, interface, protocol, name, type, domain);
        break;
    case AVAHI_BROWSER_ALL_FOR_NOW:
        browser.hasListed = true;
        break;
    case AVAHI_BROWSER_FAILURE:
        browser.error = avahi_strerror(avahi_client_errno(browser.client));
        break;
    default:
        break;
    }
}

void onClient(AvahiClient* client, AvahiClientState state, void* data) {
    if (state == AVAHI_CLIENT_FAILURE) {
        static_cast<Browser*>(data)->error = avahi_strerror(avahi_client_errno(client));
    }
}

void runUntilComplete(Browser& browser, int64_t limit_ms) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(limit_ms);
    while (!isComplete(browser)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0 ||
            avahi_simple_poll_iterate(browser.poll.get(), static_cast<int>(left.count())) != 0) {
            return;
        }
    }
}

} // namespace

bool MeterBrowser_find(int64_t limit_ms, std::vector<AnnouncedMeter>& meters, std::string& error) {
    Browser browser;
    int failure = 0;
    browser.meters = &meters;
    browser.poll.reset(avahi_simple_poll_new());
    const std::unique_ptr<AvahiClient, decltype(&avahi_client_free)> client(
        avahi_client_new(avahi_simple_poll_get(browser.poll.get()), AvahiClientFlags{}, onClient,
                         &browser, &failure),
        avahi_client_free);
    if (!client) {
        error = std::string("the Avahi daemon cannot be asked: ") + avahi_strerror(failure);
        return false;
    }
    browser.client = client.get();
    // It goes with the client.
    if (avahi_service_browser_new(client.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, serviceType,
                                  nullptr, AvahiLookupFlags{}, onBrowsed, &browser) == nullptr) {
        browser.error = avahi_strerror(avahi_client_errno(client.get()));
    }
    runUntilComplete(browser, limit_ms);
    error = browser.error;
    return error.empty();
}
