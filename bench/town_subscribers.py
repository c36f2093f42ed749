"""What the subscribers of a town have behind their ONUs, as configuration lines (see town.py).

Each kind of subscriber is a function of its ONU and a random generator of its own that gives the lines of the ONU's block, in
the order in which an operator types them. The laboratory's ONUs have between them what hardly anybody orders: every form of
every command whose settings are saved.
"""

import itertools

# ONU types: name and what the command says of it.
TYPES = {
    "FLAT-1": "eth 1 pots 0",
    "HOME-4": "eth 4 pots 2",
    "OFFICE-8": "eth 8 pots 2",
    "MAST-2": "eth 2 pots 0 down-queue 8 up-queue 4",
    "BLOCK-24": "eth 24 pots 0 card 4",
    "SHELF-2": "eth 2 pots 1 card 2 down-queue 4 up-queue 1",
    "LAB-4": "eth 4 pots 2 card 2 video 1 down-queue 8 up-queue 8",
}

# Models as ONUs report them, by type: several makes share a type.
MODELS = {
    "FLAT-1": ("SFU-1", "SFU-1B"),
    "HOME-4": ("GATE-4", "GATE-4AC", "GATE-4B"),
    "OFFICE-8": ("OFFICE-8",),
    "MAST-2": ("MAST-2",),
    "LAB-4": ("LAB-4",),
}

VLAN = {"internet": 100, "voice": 200, "tv": 300, "business": 400, "mast": 500, "management": 600}
NAMES = "anna bert clara david emma felix greta henry ida jakob klara leo mia nils olga paul rosa simon tina ulla".split()
QUALITIES = (
    "lowertxpower -10", "uppertxpower 12", "lowerrxpower -56", "upperrxpower -16",
)  # fmt: skip


def sip_agent(number, server="sip.example.net", port=5060):
    return (
        f"remote sip-agent {number} registrar-server {server} proxy-server {server} outbound-proxy {server} "
        f"primary-dns 10.255.0.1 secondary-dns 10.255.0.2 tcpudp-port {port}"
    )


def sip_user(onu, pots, name, agent=1):
    number = f"49{onu.slot:02}{onu.port:02}{onu.number:03}{pots}"
    return f"remote sip-user pots_1/{pots} sip-agent {agent} user-aor {number} display-name {name} username {number} password key-{number}"


def flat(onu, rng):
    """A flat behind a bridge: internet, and nothing to set at home."""
    yield f"name flat-{onu.slot}-{onu.port}-{onu.number}"
    yield f"splitter S{onu.slot}.{onu.port}.{(onu.number - 1) // 8 + 1}"
    yield "tcont 1 profile home"
    yield "gemport 1 tcont 1"
    yield f"service-port 1 gemport 1 user-vlan {VLAN['internet']} vlan {1000 + onu.slot * 16 + onu.port}"
    yield "service-port 1 mac-limit 8"
    yield f"remote uni eth_1/1 vlan-mode access pvlan {VLAN['internet']}"
    yield f"remote service 1 gem 1 vlan {VLAN['internet']} eth_1/1"
    yield f"remote mac_filter service 1 dynamic mac_limit {rng.choice((4, 8, 16))}"


def home(onu, rng):
    """A home with a gateway: internet over PPPoE and Wi-Fi, telephony, often television."""
    name = rng.choice(NAMES)
    has_tv = rng.random() < 0.6
    yield f"name {name}-{onu.slot}-{onu.port}-{onu.number}"
    yield f"splitter S{onu.slot}.{onu.port}.{(onu.number - 1) // 8 + 1}"
    yield "tcont 1 profile voice name voice"
    yield "tcont 2 profile home name data"
    yield "gemport 1 tcont 1 name voice queue 8"
    yield "gemport 2 tcont 2 name internet gem-car home-up gem-car-ds home-down"
    yield f"service-port 1 gemport 1 user-vlan {VLAN['voice']} transparent"
    yield f"service-port 2 gemport 2 user-vlan {VLAN['internet']} vlan {1000 + onu.slot * 16 + onu.port} svlan 2000 priority copy"
    yield "service-port 2 mac-limit 32"
    if has_tv:
        yield "gemport 3 tcont 2 name tv"
        yield f"service-port 3 gemport 3 user-vlan {VLAN['tv']} transparent"
        yield f"remote uni eth_1/3 vlan-mode access pvlan {VLAN['tv']} priority 4"
        yield "remote multicast eth_1/3 enable"
        yield "remote multicast eth_1/3 igmp mode snooping"
        yield "remote multicast eth_1/3 igmp version 2"
        yield "remote multicast eth_1/3 fast-leave enable"
        yield f"remote multicast eth_1/3 max-group {rng.choice((2, 4, 8))}"
        yield f"remote multicast eth_1/3 down vlan {VLAN['tv']} tag-action strip"
        yield f"remote multicast eth_1/3 up vlan untag tag-action add {VLAN['tv']}"
    yield f"remote onu mgmt-ip dhcp vlan {VLAN['voice']}"
    yield f"remote service 1 gem 1 vlan {VLAN['voice']}"
    yield f"remote service 2 gem 2 vlan {VLAN['internet']}"
    if has_tv:
        yield f"remote service 3 gem 3 vlan {VLAN['tv']}"
    yield "remote voip protocol sip"
    yield sip_agent(1)
    for pots in range(1, rng.choice((2, 3))):
        yield sip_user(onu, pots, name)
    yield (
        f"remote wan 1 route internet pppoe {name}{onu.number}@example.net dial-in-{onu.number} "
        f"vlan-mode tag {VLAN['internet']} priority 0 eth 1,2 ssid 1 ssid-5g 5"
    )
    key = f"secret-{rng.randrange(16**8):08x}"
    yield f"remote wifi 1 mode 802.11b/g/n channel auto bandwidth 20MHz ssid-name {name}-home security-mode wpa2-psk share-key {key}"
    yield f"remote wifi 5 mode 802.11ac/n/a channel 36 bandwidth 20/40/80MHz ssid-name {name}-5G security-mode wpa2-psk share-key {key}"
    yield "remote mac_filter service 2 dynamic mac_limit 32"


def office_unis(onu, own):
    """The ports of a business, whose own VLAN this is."""
    for port in range(1, 5):
        if port <= 2 and onu.number <= 8:  # the system counts at 800 UNIs
            yield f"remote uni eth_1/{port} pm enable"
        yield f"remote uni eth_1/{port} mac-limit 64"
    yield "remote uni eth_1/1 dot1x enable"
    yield "remote uni eth_1/8 disable"
    yield "remote loop_detect uni eth_1/2 enable"
    yield f"remote uni eth_1/1 vlan-mode trunk tag {VLAN['voice']} {VLAN['business']} {own}"
    yield f"remote uni eth_1/2 vlan-mode hybrid pvlan {VLAN['business']} priority 3  tag {VLAN['voice']}"
    yield f"remote uni eth_1/3 vlan-mode access pvlan {VLAN['business']} priority 3"
    yield f"remote uni eth_1/4 vlan-mode xlate 10:{VLAN['business']} 11:{own}"


def office(onu, rng):
    """A business: three classes of service, its own VLANs, power for its telephones, management over TR-069."""
    own = 3000 + (onu.slot * 128 + onu.port * 8 + onu.number) % 1000
    yield f"name office-{onu.slot}-{onu.port}-{onu.number}"
    yield "fec upstream enable"
    yield f"onu-rssi-profile {rng.choice((1, 2))}"
    yield "tcont 1 profile voice name voice"
    yield "tcont 2 profile office name office"
    yield "tcont 3 profile best-effort name guests"
    yield "gemport 1 tcont 1 name voice"
    yield "gemport 2 tcont 2 name lan"
    yield "gemport 3 tcont 3 name guests gem-car guests"
    yield "gemport 2 encryption enable"
    yield "gemport 2 pm enable"
    yield f"service-port 1 gemport 1 user-vlan {VLAN['voice']} vlan {VLAN['voice']} priority 5"
    yield f"service-port 2 gemport 2 user-vlan {VLAN['business']} vlan {own} priority 3 svlan {VLAN['business']} priority 3"
    yield f"service-port 3 gemport 3 user-vlan untagged vlan-add {own} priority 0"
    yield "service-port 2 mac-limit 255"
    yield "service-port 1 cos-to-cos uplink 1"
    yield from office_unis(onu, own)
    yield (
        f"remote onu mgmt-ip 10.{onu.slot}.{onu.port}.{onu.number} 255.255.255.0 10.{onu.slot}.{onu.port}.254 10.255.0.1 0.0.0.0 "
        f"vlan {VLAN['management']}"
    )
    yield f"remote onu tr069-mgmt tag {VLAN['management']} pri 6"
    yield f"remote onu tr069-mgmt acs http://acs.example.net:7547/{own} validate md5 username office-{onu.number} password key-{own}"
    yield "remote onu queue-schedule strict-priority"
    yield f"remote service 1 gem 1 vlan {VLAN['voice']} cos 5"
    yield f"remote service 2 gem 2 vlan {VLAN['business']} cos 3"
    yield f"remote service 3 gem 3 vlan {own} cos 0"
    for quality in QUALITIES:
        yield f"remote onu optical threshold {quality}"
    yield "remote voip protocol sip"
    yield sip_agent(1, "pbx.example.net")
    yield sip_user(onu, 1, "reception")
    yield sip_user(onu, 2, "fax")
    yield f"remote wan 1 route other static ip-address 10.9.{onu.port}.{onu.number} netmask 255.255.255.0 gw 10.9.{onu.port}.254 primary-dns 10.255.0.1 secondary-dns 10.255.0.2 vlan-mode tag {own} priority 2"  # fmt: skip
    for port in (5, 6):
        yield f"remote uni eth_1/{port} poe adminstate enable"
        yield f"remote uni eth_1/{port} poe request_power {rng.choice((7, 15, 30))}"
    yield "remote mac_filter service 2 mode static"
    for rule in range(1, rng.choice((2, 4))):
        yield f"remote mac_filter service 2 rule {rule} forward sa 0200-{onu.slot:02x}{onu.port:02x}-{onu.number:02x}{rule:02x}"
    yield f"qos-queue-scheduler {rng.choice((1, 2))}"
    yield "cos-queue-map downlink 1"
    yield "qos-queue-traffic 1"
    yield "qos-onu-bandwidth min 10000 max 1000000"
    yield f"qos-onu-weight {rng.choice((16, 32, 64))}"


def mast(onu, rng):
    """A mobile operator's mast: backhaul of four radio cells, each in a service of its own."""
    yield f"name mast-{onu.slot}-{onu.port}-{onu.number}"
    yield "splitter none"
    yield "pm enable"
    for tcont, profile in enumerate(("voice", "mast", "office", "best-effort"), 1):
        yield f"tcont {tcont} profile {profile}"
    for gem in range(1, 5):
        yield f"gemport {gem} tcont {gem} name cell-{gem}"
        yield f"service-port {gem} gemport {gem} user-vlan {VLAN['mast'] + gem} vlan {VLAN['mast'] + gem} priority {gem}"
    for gem in range(1, 5):
        yield f"remote service {gem} gem {gem} vlan {VLAN['mast'] + gem} cos {gem}"
    yield "remote uni eth_1/1 vlan-mode transparent" if rng.random() < 0.5 else "remote uni eth_1/1 vlan-mode trunk tag 501 502 503 504"
    yield "remote uni eth_1/1 max-frame 1522"
    yield "remote onu queue-schedule wrr 1 2 4 8 16 32 64 100"
    yield "qos-onu-weight 127"


def bound(onu, rng):
    """A flat that is bound to a service profile: all that it has stands there."""
    yield f"name {rng.choice(NAMES)}-{onu.number}"


# ---- the laboratory ---------------------------------------------------------------------------------------------------

ADDRESSES = (
    "pppoe anna secret",
    "pppoe anna secret isp",
    "static ip-address 10.8.0.2 netmask 255.255.255.0 gw 10.8.0.1 primary-dns 10.255.0.1 secondary-dns 0.0.0.0",
    "dhcp",
)
BINDINGS = ("", " eth {0}", " ssid {0}", " ssid-5g {1}", " eth {0} ssid {0}", " eth {0} ssid-5g {1}", " eth {0} ssid {0} ssid-5g {1}")
USES = ("tr069", "internet", "other", "voice_internet", "tr069_internet", "tr069_voice", "tr069_voice_internet")


def wan_forms():
    """Every form of a WAN connection, with the places of its number and of what it is bound to."""
    for use, (binding, address) in zip(itertools.cycle(USES), itertools.product(BINDINGS, ADDRESSES)):
        yield f"route {use} {address} vlan-mode tag {{2}} priority 3{binding}"
    yield "route voice dhcp vlan-mode tag {2} priority 5"
    for binding, mode in zip(BINDINGS, itertools.cycle(("pppoe-bridge", "ip-bridge"))):
        yield f"bridge {'other' if binding else 'internet'} bridge-mode {mode} vlan-mode tag {{2}} priority 7{binding}"


WIFI_2G = ("mode 802.11b/g/n channel auto bandwidth 20/40MHz", "mode 802.11b/g channel 13")
WIFI_5G = ("mode 802.11ac/n/a channel 100 bandwidth 20/40/80MHz", "mode 802.11a channel auto")


def wifi_forms():
    """Every form of a network: (of 5 GHz, its words)."""
    for is_5g, modes in ((False, WIFI_2G), (True, WIFI_5G)):
        for number, mode in enumerate(modes):
            name = f"ssid-name lab{number}"
            yield is_5g, f"{mode} {name} security-mode open"
            yield is_5g, f"{mode} {name} security-mode wpa-psk/wpa2-psk share-key pass|phrase" + (" encrypt-mode tkip/aes" if number else "")
            yield is_5g, f"{mode} {name} security-mode wep-128bits wep-auth open/share key-index 4 0123456789abcdefABCDEF0123"


SERVICE_PORTS = (
    "", " user-vlan 10 transparent", " user-vlan 11 vlan 111", " user-vlan 12 vlan 112 priority 0", " user-vlan 13 vlan 113 svlan 4094 priority 7",
    " user-vlan 14 vlan 114 svlan 4094 priority copy", " user-vlan 15 vlan 115 priority 7 svlan 1 priority copy",
    " user-vlan untagged vlan-add 116", " user-vlan tagged vlan-add 117", " user-vlan all vlan-add 4094 priority 7",
)  # fmt: skip
GEM_PORTS = (
    "", " name {0}", " queue 1", " name {0} queue 8", " gem-car home-up", " gem-car-ds home-down", " gem-car home-up gem-car-ds home-down",
    " name {0} gem-car guests", " name {0} gem-car-ds guests", " name {0} gem-car home-up gem-car-ds home-down",
)  # fmt: skip
SERVICES = ("vlan 11 cos 0 eth_1/1", "vlan 12 cos 7 veip", "vlan 13 cos 1 iphost", "vlan 14 cos 2 pots_1/1")
MULTICAST = (
    ("eth_1/1", ("igmp version 5", "down vlan 100 tag-action xlate 200", "up vlan 100 tag-action transparent", "max-group 4094")),
    ("eth_1/2", ("igmp mode snooping", "down vlan 100 tag-action transparent", "up vlan 100 tag-action add 4094", "fast-leave enable")),
    ("eth_1/3", ("down vlan 1 tag-action strip", "up vlan untag tag-action add 1")),
    ("veip", ("igmp version 1", "up vlan 4094 tag-action xlate 1")),
)
UNIS = (
    "uni eth_1/1 disable", "uni eth_1/1 pm enable", "uni eth_1/1 pm upstream enable", "uni eth_1/1 pm downstream enable",
    "loop_detect uni eth_1/2 enable", "uni veip mac-limit 255", "uni eth_1/2 mac-limit 16", "uni eth_1/2 auto-detection half-auto",
    "uni eth_1/2 max-frame 64", "uni eth_1/2 pppoe-filter enable", "uni eth_1/2 ethernet-interface ip-router",
    "uni eth_1/2 power-control enable", "uni eth_1/2 dot1x enable", "uni eth_1/2 dot1x action-register auth", "video video_1/1 state lock",
)  # fmt: skip


def lab_services(onu, _):
    """Every form of T-CONTs, GEM ports, service ports and services, with names as long and as odd as they may be."""
    yield "name " + "n" * 32
    yield "splitter !" + "s" * 31
    yield "deactive"
    yield "fec upstream enable"
    yield "onu-rssi-profile 32"
    yield "pm enable"
    yield "tcont 1 profile " + "b" * 64
    yield 'tcont 8 profile best-effort name "|#' + "t" * 29
    for gem, form in enumerate(GEM_PORTS, 1):
        yield f"gemport {gem} tcont {1 if gem % 2 else 8}{form.format('g' * 32)}"
    yield "gemport 10 encryption enable"
    yield "gemport 9 pm enable"
    for number, form in enumerate(SERVICE_PORTS, 1):
        yield f"service-port {number} gemport {number}{form}"
    yield "service-port 32 gemport 10 user-vlan 16 transparent"
    yield "service-port 32 mac-limit 4095"
    yield "service-port 32 mac-move disable"
    yield "service-port 32 queue 7"
    yield "service-port 32 cos-to-cos uplink 7"
    for number, form in enumerate(SERVICES, 1):
        yield f"remote service {number} gem {number} {form}"
    yield "qos-queue-scheduler 16"
    yield "cos-queue-map downlink 4"
    yield "qos-queue-traffic 128"
    yield "qos-onu-bandwidth min 1 max 10000000"
    yield "qos-onu-weight 2"


def lab_unis(onu, _):
    """Every setting of a port of an ONU, and one service for all."""
    yield "tcont 1 profile best-effort"
    yield "gemport 1 tcont 1"
    yield "service-port 1 gemport 1"
    yield "remote service 1 gem 1 eth_1/1"
    for setting in UNIS:
        yield f"remote {setting}"
    yield "remote uni eth_1/1 vlan-mode hybrid pvlan 5 tag 100 200"
    yield "remote uni eth_1/2 vlan-mode xlate 10:100 11:101"
    yield "remote uni eth_1/3 vlan-mode trunk tag " + " ".join(str(vlan) for vlan in range(101, 113))
    yield "remote uni pots_1/1 vlan-mode access pvlan 7"
    yield "remote uni veip vlan-mode transparent"
    for uni, settings in MULTICAST:
        yield f"remote multicast {uni} enable"
        for setting in settings:
            yield f"remote multicast {uni} {setting}"
    yield "remote uni eth_1/1 poe adminstate enable"
    yield "remote uni eth_1/1 poe request_power 60"
    yield "remote uni eth_1/1 poe powpairs spare"
    yield "remote uni eth_1/1 poe powpri high"
    yield "remote onu poe usagethr 99"
    yield "remote onu poe arc enable"
    yield "remote onu poe extpowavl 4294967295"
    yield "remote onu poe extbattpowavl 1"
    yield "remote mac_filter service 1 mode static"
    yield "remote mac_filter service 1 rule 1 forward da 0011-2233-4455"
    yield "remote mac_filter service 1 rule 255 discard sa abcd-ef01-2345"


def lab_management(onu, _):
    """Every setting of an ONU as a whole, and of its telephones."""
    yield "tcont 1 profile best-effort"
    yield "gemport 1 tcont 1"
    yield "service-port 1 gemport 1"
    yield "remote service 32 gem 1"
    yield "remote onu mgmt-ip 10.0.0.2 255.255.255.252 0.0.0.0 8.8.8.8 0.0.0.0 vlan 4094"
    yield "remote onu tr069-mgmt state lock"
    yield "remote onu tr069-mgmt acs http://" + "a" * 121 + " validate basic username u|u password p!p"
    yield "remote onu queue-schedule strict-priority"
    for quality in QUALITIES:
        yield f"remote onu optical threshold {quality}"
    yield "remote voip protocol sip"
    yield "remote onu voip vlan 200 mac 0011-2233-4455"
    yield sip_agent(1)
    yield sip_agent(65535, "s" * 25, 65535)
    yield sip_user(onu, 1, "d" * 25, 65535)


def lab_networks(onu, _, part=0):
    """Four of the forms of WAN connections, and two networks."""
    forms = list(itertools.islice(wan_forms(), 4 * part, 4 * part + 4))
    yield f"remote onu tr069-mgmt acs http://acs.example.net/{part} validate disable"
    for number, form in enumerate(forms, 1):
        yield f"remote wan {number} {form.format(number, number + 4, 1000 + number)}"
    here = {False: 0, True: 4}
    networks = list(wifi_forms())
    for is_5g, form in networks[part * 2 : part * 2 + 2]:
        here[is_5g] += 1
        yield f"remote wifi {here[is_5g]} {form}"
        yield f"remote wifi {here[is_5g]} disable"
        yield f"remote wifi {here[is_5g]} ssid disable"


def laboratory(number):
    """What the laboratory's ONU of this number (from 0) has; None behind the last."""
    rooms = [lab_services, lab_unis, lab_management]
    networks = (len(list(wan_forms())) + 3) // 4
    if number < len(rooms):
        return rooms[number]
    part = number - len(rooms)
    return (lambda onu, rng: lab_networks(onu, rng, part)) if part < networks else None


KINDS = {"flat": (flat, "FLAT-1"), "home": (home, "HOME-4"), "office": (office, "OFFICE-8"), "mast": (mast, "MAST-2"), "bound": (bound, "FLAT-1")}

# What a service profile has, for those who are bound to it.
PROFILES = {
    1: ("bound", "FLAT-1", (
        "tcont 1 profile home", "gemport 1 tcont 1", f"service-port 1 gemport 1 user-vlan {VLAN['internet']} vlan {VLAN['internet']}",
        "service-port 1 mac-limit 16", f"remote uni eth_1/1 vlan-mode access pvlan {VLAN['internet']}",
        f"remote service 1 gem 1 vlan {VLAN['internet']} eth_1/1",
    )),
    2: ("gateways", "HOME-4", (
        "tcont 1 profile home name data", "gemport 1 tcont 1", f"service-port 1 gemport 1 user-vlan {VLAN['internet']} vlan {VLAN['internet']}",
        "qos-onu-bandwidth min 1000 max 100000",
        f"remote onu mgmt-ip dhcp vlan {VLAN['voice']}", f"remote service 1 gem 1 vlan {VLAN['internet']}", "remote voip protocol sip",
        sip_agent(1), f"remote wan 1 route internet dhcp vlan-mode tag {VLAN['internet']} priority 0",
        "remote wifi 1 mode 802.11b/g/n channel auto bandwidth 20MHz ssid-name town security-mode open",
        "remote wifi 1 ssid disable", "remote wifi 5 mode 802.11n/a channel auto bandwidth 20MHz ssid-name town security-mode open",
        "remote uni eth_1/1 poe adminstate enable", "remote onu poe usagethr 80",
    )),
    128: ("p" * 64, "OFFICE-8", ("tcont 1 profile office", "gemport 30 tcont 1", "service-port 32 gemport 30", "service-port 32 mac-move disable")),
}  # fmt: skip
