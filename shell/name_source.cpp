#include "name_source.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

namespace {

// With "profile" the variable tells which: T-CONTs have bandwidth profiles, ONUs service profiles.
constexpr NamePlace PLACES[] = {
    {"interface", "IFNAME", "interface", ""},
    {"distance", "IFNAME", "interface", ""},
    {"commit", "IFNAME", "interface", ""},
    {"activate", "IFNAME", "interface", ""},
    {"abort", "IFNAME", "interface", ""},
    {"update-status", "IFNAME", "interface", ""},
    {"information", "IFNAME", "interface", ""},
    {"ingress-port", "IFNAME", "interface", ""},
    {"port", "IFNAME", "interface", ""},
    {"statistic", "IFNAME", "interface", ""},
    {"workpon", "IFNAME", "interface", ""},
    {"protectpon", "IFNAME", "interface", ""},
    {"config", "IFNAME", "interface", ""},
    {"src", "IFNAME", "interface", ""},
    {"dst", "IFNAME", "interface", ""},
    {"uni", "ETHUNI", "uni", "uni"},
    {"multicast", "ETHUNI", "uni", "uni"},
    {"video", "VIDEOUNI", "uni", "uni", "video_"},
    {"video", "VIDEO", "uni", "uni", "video_"},
    {"sip-user", "POTS", "uni", "uni", "pots_"},
    {"type", "TYPE", "onutype", ""},
    {"onu-type", "ONUTYPENAME", "onutype", ""},
    {"onutype", "NAME", "onutype", ""},
    {"profile", "PROFILE", "bandwidth", ""},
    {"bandwidth", "NAME", "bandwidth", ""},
    {"traffic", "NAME", "traffic", ""},
    {"gem-car", "PROFILE", "traffic", ""},
    {"gem-car-ds", "PROFILE", "traffic", ""},
    {"profile", "NAME", "onu-srvprofile", ""},
    {"srv-profile", "NAME", "onu-srvprofile", ""},
    {"def-srv-profile", "NAME", "onu-srvprofile", ""},
    {"profile-id", "(1-128)", "onu-srvprofile-id", ""},
    {"onu-srvprofile", "(1-128)", "onu-srvprofile-id", ""},
    {"table", "TABLE", "table", ""},
    {"onu", "(1-128)", "interface", "onu"},
    {"modify", "(1-128)", "interface", "onu"},
    {"onuid", "(1-128)", "interface", "onu"},
};

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

/// The word that a text ends in; empty behind a blank.
std::string last_word(const std::string& text) {
    const auto blank = text.find_last_of(" \t");
    return blank == text.npos ? text : text.substr(blank + 1);
}

/// The text up to the end of the word before its last one.
std::string without_last_word(const std::string& text) {
    auto end = text.size() - last_word(text).size();
    while (end > 0 && is_blank(text[end - 1]))
        end--;
    return text.substr(0, end);
}

/// The keyword that a text ends in, in full; empty if it isn't one, or might be several.
std::string keyword_at_end(const CommandTree& tree, enum node_type node, const std::string& text) {
    const auto keywords = tree.complete(node, text);
    const auto word = last_word(text);
    if (std::find(keywords.begin(), keywords.end(), word) != keywords.end())
        return word;
    return keywords.size() == 1 ? keywords[0] : "";
}

/// What stands in front of the names of an object's own things: "gpon-onu1/1:" for the ONUs of a PON port,
/// "gpon-onu1/1:1:" for the UNIs of an ONU; nothing for an object of another kind.
std::string owner_of(const NamePlace& place, const std::string& object) {
    constexpr std::string_view OLT = "gpon-olt";
    constexpr std::string_view ONU = "gpon-onu";
    if (place.relative == "uni")
        return object.starts_with(ONU) ? object + ":" : "";
    return object.starts_with(OLT) ? std::string(ONU) + object.substr(OLT.size()) + ":" : "";
}

} // namespace

const NamePlace* name_place(std::string_view keyword, std::string_view variable) {
    const auto* const found = std::find_if(std::begin(PLACES), std::end(PLACES), [=](const auto& place) {
        return place.keyword == keyword && place.variable == variable;
    });
    return found != std::end(PLACES) ? found : nullptr;
}

std::vector<std::string> NameSource::names(std::string_view kind, const std::string& beginning) {
    std::vector<std::string> found;
    try {
        if (!client_) {
            client_ = std::make_unique<VtyClient>(path_);
            client_->send("enable");
            client_->receive(PATIENCE_MS);
        }
        client_->send("show names " + std::string(kind) + (beginning.empty() ? "" : " " + beginning));
        const auto reply = client_->receive(PATIENCE_MS);
        if (!reply) {
            client_.reset(); // its answer would be taken for the next one
            return found;
        }
        std::istringstream lines(reply->result == 0 ? reply->text : "");
        for (std::string line; std::getline(lines, line);)
            found.push_back(line);
    } catch (const VtyClientError&) {
        client_.reset();
    }
    return found;
}

std::vector<std::string> NameSource::of_place(const NamePlace& place, const std::string& beginning,
                                              const std::string& object) {
    if (place.relative.empty())
        return names(place.kind, beginning);
    const auto owner = owner_of(place, object);
    if (owner.empty())
        return {};
    auto found = names(place.kind, owner + beginning);
    for (auto& name : found)
        name.erase(0, owner.size());
    std::erase_if(found, [&](const std::string& name) { return !name.starts_with(place.only); });
    return found;
}

std::vector<std::string> NameSource::complete(const CommandTree& tree, enum node_type node,
                                              const std::string& text, const std::string& object) {
    std::vector<std::string> found;
    const auto before = without_last_word(text);
    const auto keyword = before.empty() ? "" : keyword_at_end(tree, node, before);
    if (keyword.empty())
        return found;
    for (const auto& line : tree.describe(node, text)) {
        const auto* const place = line.keyword ? nullptr : name_place(keyword, line.word);
        if (place) {
            const auto more = of_place(*place, last_word(text), object);
            found.insert(found.end(), more.begin(), more.end());
        }
    }
    std::sort(found.begin(), found.end(), [](const std::string& a, const std::string& b) {
        return strverscmp(a.c_str(), b.c_str()) < 0; // port 2 comes before port 10
    });
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}
