"""Every refusal says why: by one line in the log with its door, the row and the reason, and to the operator's shell."""

import subprocess

import pytest

from chassis import VTY_SOCKET, program
from test_provision import Chassis, add_onu

ENABLE, CONFIG = (), ("configure terminal",)
GPON = ("configure terminal", "gpon")
PORT = ("configure terminal", "interface gpon-olt1/1")
ONU = ("configure terminal", "interface gpon-onu1/1:1")
BOUND = ("configure terminal", "interface gpon-onu1/1:2")
PROFILE = ("configure terminal", "gpon", "onu-srvprofile profile-id 1 onu-type KLM-618")
LONG = "x" * 33
VERY_LONG = "x" * 65

#: What stands before any of the lines below: an ONU with a service of each kind, one with a service profile.
SET_UP = """
gpon
profile bandwidth gold fixed 1000
profile bandwidth half fixed 500000
profile traffic fast cir 64 cbs 2000 pir 64 pbs 2000
profile onutype small eth 1 pots 0 down-queue 1 up-queue 1
profile onutype spare eth 1 pots 0
onu-srvprofile profile-id 1 onu-type KLM-618
profile-name home
tcont 1 profile gold
gemport 1 tcont 1
onu-srvprofile profile-id 2 onu-type spare
profile-name cabin
interface gpon-olt1/1
onu 1 type small sn ABCD00000001
onu 2 profile home sn ABCD00000002
interface gpon-onu1/1:1
tcont 1 profile gold
gemport 1 tcont 1 queue 1
gemport 2 tcont 1 queue 1
service-port 1 gemport 1 user-vlan 100 transparent
remote wan 2 route internet dhcp vlan-mode tag 7 priority 0 eth 1
""".split("\n")[1:-1]

#: where, line, what the daemon prints, row, reason
COMMANDS = [
    # names and numbers
    (CONFIG, "interface gpon-olt7/77", "% Interface[gpon-olt7/77] not exist\n", "-", 'no interface "gpon-olt7/77"'),
    (GPON, f"profile bandwidth {VERY_LONG} fixed 250", "%Bad profile name length\n", "gpon", "a name has at most 64 characters"),
    (GPON, f"profile onutype {LONG} eth 1 pots 0", "%Bad profile name length\n", "gpon", "a name has at most 32 characters"),
    (GPON, "profile traffic x cir 128 cbs 2000 pir 64 pbs 2000", "%Wrong parameter(pir >= cir)\n", "gpon", "pir 64 is less than cir 128"),
    (PORT, "onu 3 type KLM-618 sn ABCD000000030000X", "%Bad parameters\n", "gpon-olt1/1", "sn takes at most 16 characters"),
    (PORT, "onu 3 type KLM-618 loid A pw 1234567890123", "%Bad parameters\n", "gpon-olt1/1", "pw takes at most 12 characters"),
    (PORT, f"onu 3 type {LONG} sn ABCD00000003", "%Profile name length is too long\n", "gpon-olt1/1", "a name has at most 32 characters"),
    (PORT, f"onu 3 profile {VERY_LONG} sn ABCD00000003", "%Bad profile name length\n", "gpon-olt1/1", "a name has at most 64 characters"),
    (ONU, f"name {LONG}", "%Bad name length\n", "gpon-onu1/1:1", "a name has at most 32 characters"),
    (ONU, f"tcont 2 profile {VERY_LONG}", "%Bad profile name length\n", "gpon-onu1/1:1", "a name has at most 64 characters"),
    # what isn't there
    (PORT, "onu 3 type nope sn ABCD00000003", "add onu ponid = 1, onuid  3 failed , rtn=1003 \n", "gpon-olt1/1", 'no ONU type "nope"'),
    (PORT, "onu 3 profile nope sn ABCD00000003", "%Onu srv profile not exist\n", "gpon-olt1/1", 'no service profile "nope"'),
    (PORT, "onu modify 9 sn ABCD00000009", "add onu ponid = 1, onuid  9 failed , rtn=1001 \n", "gpon-olt1/1", "no ONU 9 on the port"),
    (PORT, "no onu 9", "%Failed to delete ONU\n", "sOnuTable gpon-onu1/1:9", "doesn't exist"),
    (PORT, "onu-auto-flow hgu srv-profile nope", "%Onu srv profile not exist\n", "gpon-olt1/1", 'no service profile "nope"'),
    (PORT, "onu-auto-flow vendor 1 ABCD srv-profile home", "%wrong operation, please enable auto flow firstly\n", "gpon-olt1/1",
     "auto flow is off: onu auto-authentication enable auto-flow enable ... goes first"),
    (GPON, "onu-srvprofile profile-id 9 onu-type nope", "Onu type profile name not exist\n", "gpon", 'no ONU type "nope"'),
    (GPON, "no onu-srvprofile profile-id 9", "% onu-srvprofile not exist\n", "gpon", "no service profile 9"),
    (GPON, "no profile bandwidth nope", "%Failed to delete bandwidth profile nope\n", "gpon", 'no profile "nope"'),
    (GPON, "no profile onutype nope", "%Failed to delete onutype profile nope\n", "gpon", 'no profile "nope"'),
    (GPON, "no profile traffic nope", "%Failed to delete traffic profile nope\n", "gpon", 'no profile "nope"'),
    (ONU, "tcont 2 profile nope", "%Failed to create tcont:2\n", "gpon-onu1/1:1", 'no bandwidth profile "nope"'),
    (ONU, "no tcont 7", "%Failed to delete tcont:7\n", "sTcontTable gpon-onu1/1:1 T-CONT 7", "doesn't exist"),
    (ONU, "gemport 3 tcont 5", "%Faild to add GEM: 3\n", "sGemTable gpon-onu1/1:1 GEM port 3", "no T-CONT 5"),
    (ONU, "no gemport 9", "%Faild to delete GEM: 9\n", "sGemTable gpon-onu1/1:1 GEM port 9", "doesn't exist"),
    (ONU, "gemport 3 tcont 1 gem-car nope", "%No profile name \n", "gpon-onu1/1:1", 'no traffic profile "nope"'),
    (ONU, "service-port 3 gemport 9 user-vlan 100 transparent", "%Could not find gemport: 9\n", "gpon-onu1/1:1", "the ONU has no GEM port 9"),
    (ONU, "no service-port 9", "%Could not find service port: 9\n", "gpon-onu1/1:1", "the ONU has no service port 9"),
    # what is there already
    (PORT, "onu 1 type small sn ABCD00000009", "add onu ponid = 1, onuid  1 failed , rtn=1003 \n", "sOnuTable gpon-onu1/1:1", "exists already"),
    (PORT, "onu 3 type small sn ABCD00000001", "add onu ponid = 1, onuid  3 failed , rtn=1003 \n", "sOnuTable gpon-onu1/1:3",
     "serial number ABCD00000001 is that of ONU 1 of the port"),
    (GPON, "profile bandwidth gold fixed 1000", "%Failed to add bandwidth profile gold\n", "gpon", 'a profile "gold" exists already'),
    (GPON, "profile traffic fast cir 64 cbs 2000 pir 64 pbs 2000", "%Failed to add bandwidth profile fast\n", "gpon", 'a profile "fast" exists already'),
    (GPON, "onu-srvprofile profile-id 1 onu-type small", "Onu srvprofile id exist\n", "gpon", "service profile 1 is there with another ONU type"),
    (PORT, "multi-onusrv-cfg onu-srvprofile 9 onu 1", "% onu-srv-profile id not exist\n", "gpon-olt1/1", "no service profile 9"),
    (PORT, "multi-onusrv-cfg onu-srvprofile 1 onu 9", "Onu 9 not exist\n", "gpon-olt1/1", "1 ONUs aren't there or of another type"),
    (PORT, "no multi-onusrv 9", "Onu 9 not exist\n", "gpon-olt1/1", "1 ONUs aren't there, the others lose their services"),
    (PORT, "no multi-onusrv 9-1", "% Invalid onu id or range!\n", "gpon-olt1/1",
     '"9-1" is no number of an ONU from 1 to 128 and no range of them'),
    (PROFILE, "profile-name cabin", "%Profile name not valid\n", "onu-srvprofile 1", 'service profile 2 has the name "cabin"'),
    (ONU, "tcont 1 profile gold", "%Failed to create tcont:1\n", "sTcontTable gpon-onu1/1:1 T-CONT 1", "exists already"),
    (ONU, "gemport 1 tcont 1", "%Faild to add GEM: 1\n", "sGemTable gpon-onu1/1:1 GEM port 1", "exists already"),
    (ONU, "service-port 1 gemport 1 user-vlan 100 transparent", "%Could not assign service port: 1\n", "gpon-onu1/1:1", "service port 1 exists already"),
    # values
    (PORT, "onu 3 type small sn ABCD0000000X", "add onu ponid = 1, onuid  3 failed , rtn=1003 \n", "sOnuTable gpon-onu1/1:3",
     'serial number "ABCD0000000X" isn\'t 4 letters and 8 hex digits'),
    (PORT, "onu modify 1 sn ABCD", "add onu ponid = 1, onuid  1 failed , rtn=1010 \n", "gpon-olt1/1",
     'serial number "ABCD" isn\'t 4 letters and 8 hex digits'),
    (GPON, "profile bandwidth x assured 1000 maximum 500", "%Failed to add bandwidth profile x\n", "sBWProfileTable x", "maximum 500 is less than assured"),
    (GPON, "profile bandwidth x fixed 1000 assured 1000 maximum 1500", "%Failed to add bandwidth profile x\n", "sBWProfileTable x",
     "maximum 1500 is less than fixed and assured together"),
    (ONU, "gemport 3 tcont 1 queue 8", "%Faild to add GEM: 3\n", "sGemTable gpon-onu1/1:1 GEM port 3",
     'the ONU\'s type "small" has 1 upstream queues'),
    (PORT, "onu auto-authentication nothing", None, None, None),  # not understood: no refusal of the application
    # what is in use
    (GPON, "no profile bandwidth gold", "%Failed to delete bandwidth profile gold\n", "sBWProfileTable gold", "T-CONT 1 of gpon-onu1/1:1 has this profile"),
    (GPON, "no profile bandwidth default", "%Failed to delete bandwidth profile default\n", "sBWProfileTable default", "the default profile stays"),
    (GPON, "no profile traffic default", "%Failed to delete traffic profile default\n", "sRmTrafficProfileTable default", "the default profile stays"),
    (GPON, "no profile onutype small", "%Failed to delete onutype profile small\n", "sOnuTypeProfileTable small", "gpon-onu1/1:1 is of this type"),
    (GPON, "no profile onutype spare", "%Failed to delete onutype profile spare\n", "gpon", 'a service profile is of ONU type "spare"'),
    (GPON, "no onu-srvprofile profile-id 1", "%Failed to delete multi srvprofile\n", "gpon", "gpon-onu1/1:2 has the service profile"),
    (ONU, "no tcont 1", "%Failed to delete tcont:1\n", "sTcontTable gpon-onu1/1:1 T-CONT 1", "GEM port 1 uses the T-CONT"),
    (ONU, "no gemport 1", "%Faild to delete GEM: 1\n", "sGemTable gpon-onu1/1:1 GEM port 1", "service port 1 uses the GEM port"),
    (PROFILE, "tcont 2 profile gold", "%Failed to create tcont:2\n", "sTcontTable onu-srvprofile 1 T-CONT 2",
     "1 ONUs have service profile 1, which can't change under them"),
    (BOUND, "tcont 3 profile gold", "%Failed to create tcont:3\n", "sTcontTable gpon-onu1/1:2 T-CONT 3",
     "gpon-onu1/1:2 takes its settings from service profile 1"),
    # protection groups, and a port as a whole
    (GPON, "protectgroup 1 name n workpon gpon-olt1/1 protectpon gpon-olt1/1 typeB", "Failed to add gpon protect group\n", "gpon",
     "a port can't protect itself"),
    (GPON, "protectgroup 1 name n workpon gpon-olt1/1 protectpon gpon-olt2/1 typeB", "Failed to add gpon protect group\n", "gpon",
     "both ports must be on one card"),
    (GPON, "show protectgroup 9", "%No protect group 9\n", "gpon", "no protection group 9"),
    (GPON, "clear config nowhere", "%Invalid IFNAME: nowhere\n", "gpon", 'no interface "nowhere"'),
    (GPON, "copy config src gpon-onu1/1:1 dst gpon-olt2/1", "%Interface gpon-onu1/1:1 is not PON\n", "gpon", "gpon-onu1/1:1 isn't a PON port"),
    # what lies behind an ONU
    (ONU, "remote uni lan1 enable", "%Bad format ONU interface lan1\n", "gpon-onu1/1:1",
     '"lan1" isn\'t eth_CARD/PORT, pots_CARD/PORT, video_CARD/PORT, veip or iphost'),
    (ONU, "remote uni eth_1/9 max-frame 100", "%Failed to set eth_1/9 max-frame\n",
     "sRmUniStatusTable gpon-onu1/1:1 card 1 type 0 port 9", "the ONU has no UNI eth_1/9"),
    (ONU, "remote uni eth_1/1 vlan-mode trunk tag 0", "% Invalid vlan id or range!\n", "gpon-onu1/1:1",
     '"0" isn\'t a VLAN from 1 to 4094, or a range of them'),
    (ONU, "remote uni eth_1/1 vlan-mode trunk tag 1-13", "%Bad parameter, count over 12\n", "gpon-onu1/1:1", "a UNI takes at most 12 VLANs"),
    (ONU, "remote uni eth_1/1 vlan-mode xlate 10", "%Bad VLAN format 10\n", "gpon-onu1/1:1",
     '"10" isn\'t two VLANs from 1 to 4094 as in 10:100'),
    (ONU, "show onu remote uni eth_1/9 param", "%Failed to get uni status\n", "gpon-onu1/1:1", "the ONU has no UNI eth_1/9"),
    (ONU, "show onu remote uni eth_1/1 pm", "%UNI port does not exist or not action enable\n", "gpon-onu1/1:1",
     "no counters are fetched of UNI eth_1/1"),
    (ONU, "show onu remote uni eth_1/1 pm current upstream", "%UNI port does not exist or not action enable\n", "gpon-onu1/1:1",
     "the ONU doesn't count at UNI eth_1/1"),
    (ONU, "remote service 1 gem 1 vlan", "%Bad format ONU interface vlan\n", "gpon-onu1/1:1", '"vlan" needs a number behind it'),
    (ONU, "no remote service 1", "%Failed to delete remote service 1\n", "sRmServiceTable gpon-onu1/1:1 service 1", "doesn't exist"),
    (ONU, "remote mac_filter service 1 mode static", "%Failed to set mac filter mode\n",
     "rmServiceMacFilterModeTable gpon-onu1/1:1 service 1", "there is no remote service 1"),
    (ONU, "remote mac_filter service 1 dynamic mac_limit 5", "%Failed to set mac filter mode\n",
     "rmServiceMacFilterDynamicTable gpon-onu1/1:1 service 1", "there is no remote service 1 of mode dynamic"),
    (ONU, "remote mac_filter service 1 rule 2 forward da 00:11:22:33:44:55", "% invalid mac format!\n", "gpon-onu1/1:1",
     '"00:11:22:33:44:55" isn\'t an address as 0011-2233-4455'),
    (ONU, "no remote mac_filter service 1 rule 2 forward da 0011-2233-4455", "%Failed to delete mac filter static rule\n",
     "rmServiceMacFilterStaticTable gpon-onu1/1:1 service 1 rule 2", "doesn't exist"),
    (ONU, "remote multicast eth_1/1 max-group 5", "%Failed to set multicast max group number\n",
     "sRmMulticastTable gpon-onu1/1:1 card 1 type 0 port 1", "multicast isn't enabled at eth_1/1"),
    (ONU, "remote multicast eth_1/1 down vlan 5 tag-action strip", "%Failed to set multicast vlan\n",
     "sRmMulticastTable gpon-onu1/1:1 card 1 type 0 port 1", "multicast isn't enabled at eth_1/1"),
    (ONU, "remote onu mgmt-ip 224.0.0.1 255.255.255.0 0.0.0.0 0.0.0.0 0.0.0.0 vlan 5", "%Inconsistent ip address\n",
     "gpon-onu1/1:1", "the address isn't one of a host"),
    (ONU, "remote onu mgmt-ip 10.0.0.0 255.255.255.0 0.0.0.0 0.0.0.0 0.0.0.0 vlan 5", "%Inconsistent ip address\n",
     "gpon-onu1/1:1", "the address is the first or the last of its network"),
    (ONU, "remote onu mgmt-ip 10.0.0.2 255.0.255.0 0.0.0.0 0.0.0.0 0.0.0.0 vlan 5", "%Inconsistent ip netmask\n",
     "gpon-onu1/1:1", "the netmask isn't ones and then zeros"),
    (ONU, "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.1.1 0.0.0.0 0.0.0.0 vlan 5", "%Inconsistent ip gateway\n",
     "gpon-onu1/1:1", "the gateway isn't another host of the address's network"),
    (ONU, "remote onu mgmt-ip 10.0.0.2 255.255.255.0 0.0.0.0 127.0.0.1 0.0.0.0 vlan 5", "%Inconsistent primary DNS server\n",
     "gpon-onu1/1:1", "the DNS server's address isn't one of a host"),
    (ONU, f"remote onu tr069-mgmt acs {VERY_LONG}{VERY_LONG} validate disable", "%String length exceeds\n", "gpon-onu1/1:1",
     "the address of the server has at most 128 characters"),
    (ONU, f"remote onu tr069-mgmt acs a validate md5 username {LONG} password b", "%String length exceeds\n", "gpon-onu1/1:1",
     "the user name has at most 25 characters"),
    (ONU, f"remote onu tr069-mgmt acs a validate md5 username a password {LONG}", "%String length exceeds\n", "gpon-onu1/1:1",
     "the password has at most 25 characters"),
    (ONU, "remote onu optical threshold lowerrxpower x", "%Bad params x\n", "gpon-onu1/1:1", '"x" isn\'t a whole number'),
    (ONU, "remote uni pots_1/1 poe powpri low", "%Failed to set pots_1/1 poe powpri\n",
     "sRmUniPoeTable gpon-onu1/1:1 card 1 type 1 port 1", "pots_1/1 has no Power over Ethernet"),
    (ONU, "show onu remote uni pots_1/1 poe", "%Failed to get uni poe \n", "gpon-onu1/1:1", "it has no Power over Ethernet"),
    (ONU, "show onu remote poe", "%failed to get onu poe , please verify onu is operational! \n", "gpon-onu1/1:1",
     "the ONU isn't operational"),
    (ONU, "show onu power", "%Failed to get port info \n", "gpon-onu1/1:1", "the ONU isn't operational"),
    (ONU, "remote wan 1 route internet dhcp vlan-mode tag 5 priority 0 eth 1,5", "%Unknown ETH string \n", "gpon-onu1/1:1",
     "it takes numbers from 1 to 4, each once, such as 1,3"),
    (ONU, "remote wan 1 route voice dhcp vlan-mode tag 5 priority 0 ssid-5g 5", "%Unknown wan type\n", "gpon-onu1/1:1",
     'this form has no route "voice"'),
    (ONU, f"remote wan 1 route internet pppoe {LONG} pw vlan-mode tag 5 priority 0", "%Username or password len exceed range\n",
     "gpon-onu1/1:1", "USERNAME has at most 25 characters"),
    (ONU, "remote wan 1 route internet static ip-address 10.0.0.7 netmask 255.0.255.0 gw 10.0.0.1 primary-dns 10.0.0.1 "
     "secondary-dns 10.0.0.1 vlan-mode tag 5 priority 0", "% Malformed netmask \n", "gpon-onu1/1:1",
     "a netmask is ones up to a place and zeros behind it"),
    (ONU, "no remote wan 1", "%Failed to delete remote wan[1] \n", "sRmWanTable gpon-onu1/1:1 WAN 1", "doesn't exist"),
    (ONU, "remote wan 3 route internet dhcp vlan-mode tag 7 priority 0", "%Failed to add remote wan, please check \n",
     "sRmWanTable gpon-onu1/1:1 WAN 3", "WAN 2 has the same mode, type and VLAN"),
    (ONU, "remote wan 3 route internet dhcp vlan-mode tag 8 priority 0 eth 1,2", "%Failed to add remote wan, please check \n",
     "sRmWanTable gpon-onu1/1:1 WAN 3", "WAN 2 is bound to some of the same LAN ports"),
    (ONU, "remote wan 2 route internet dhcp vlan-mode tag 9 priority 0", "%wan[2] exist \n", "gpon-onu1/1:1",
     "wan 2 is there already"),
    (BOUND, "remote voip protocol sip", "%Failed to set voip config data\n", "sRmVoipConfigDataTable gpon-onu1/1:2",
     "gpon-onu1/1:2 takes its settings from service profile 1"),
    (PROFILE, "remote onu poe arc enable", "%Failed to set onu poe arc\n", "sRmOnuPoeTable onu-srvprofile 1",
     "1 ONUs have service profile 1, which can't change under them"),
    (ONU, "remote wifi 5 mode 802.11n/a channel 36 bandwidth 20/40/80MHz ssid-name net security-mode open",
     "%Only 802.11ac/n/a support 20/40/80MHz\n", "gpon-onu1/1:1", "other modes have channels of 20 and 40 MHz"),
    (ONU, "remote wifi 1 mode 802.11b channel 1 ssid-name net security-mode wep-128bits wep-auth open key-index 1 abcde",
     "%Invalid key value\n", "gpon-onu1/1:1", "the key has 13 characters or 26 hexadecimal digits"),
    (ONU, "remote wifi 1 mode 802.11g channel 1 ssid-name net security-mode wpa-psk share-key 1234567 encrypt-mode aes",
     "%Share key len error\n", "gpon-onu1/1:1", "a share key has 8 to 63 characters"),
    (ONU, "remote wifi 5 disable", "%Failed to config remote wifi \n", "sRmWifiTable gpon-onu1/1:1 Wi-Fi 5", "doesn't exist"),
    (ONU, "no remote sip-agent 7", "%Failed to no sip-agent\n", "sRmVoipSipAgentConfigTable gpon-onu1/1:1 SIP agent 7", "doesn't exist"),
    (ONU, "show onu remote sip-user pots_1/9 status", "%Failed to get voip voice server status\n", "gpon-onu1/1:1",
     "the ONU has no telephone pots_1/9"),
    (ONU, "remote onu reboot now", "%Bad params reboot now\n", "gpon-onu1/1:1",
     "there is no command like that, and what begins as one isn't kept as text"),
    (PORT, "show onu 9 remote info", "%Onu 9 not exist\n", "gpon-olt1/1", "no ONU 9"),
    (ENABLE, "show interface nope onu remote info", "%Invalid PON IFNAME:nope\n", "-", "nope isn't a PON port"),
    # resources
    (ONU, "tcont 3 profile half", "%Failed to create tcont:3\n", "sTcontTable gpon-onu1/1:1 T-CONT 3",
     "502000 of 800000 kbit/s of fixed bandwidth of the PON port are taken, 500000 more aren't left"),
    # shows
    (ENABLE, "show mib table nope", "% no table nope\n", "-", 'no table "nope"'),
    (ENABLE, "json show mib table nope", "% no table nope\n", "-", 'no table "nope"'),
    (ENABLE, "json show the moon", "% Unknown command: show the moon\n", "-", 'no command "show the moon"'),
    (ENABLE, "json list", "% json takes a command that begins with show\n", "-", "json takes a command that begins with show"),
    (ENABLE, "show mib table sTcontTable row 1 1 1 1 9", "% no such row\n", "-", "sTcontTable has no such row"),
]


@pytest.fixture
def world(chassis):
    made = Chassis(chassis, ports=1)
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in SET_UP:
            assert session(line).result == 0, (line, session("show refusal"))
        session("interface gpon-onu1/1:1")
        assert session("tcont 2 profile half").result == 0
    yield made
    made.close()


def refusals(chassis, since=0):
    """What the lines of the log from a place on say of refusals, behind the first colon."""
    lines = chassis.log_lines()[since:]
    return [line.split(": refused: ", 1)[1] for line in lines if ": refused: " in line]


def mark(chassis):
    return len(chassis.log_lines())


def line_number(line):
    number = 2166136261
    for byte in line.encode():
        number = (number ^ byte) * 16777619 & 0xFFFFFFFF
    return f"{number:08x}"


@pytest.fixture
def shell(world):
    def run(*args, **kwargs):
        command = [program("gponsh"), "-s", str(world.chassis.path(VTY_SOCKET)), *map(str, args)]
        return subprocess.run(command, capture_output=True, text=True, timeout=30, **kwargs)

    return run


def told_as(row, reason):
    """Of a session that stands on nothing there is no row to tell."""
    return reason if row == "-" else f"{reason} ({row})"


def test_a_refused_command_leaves_one_line_and_tells_its_session(world):
    wrong = []
    for where, line, text, row, reason in COMMANDS:
        with world.chassis.open_vty() as session:
            for step in where:
                assert session(step).result == 0
            before = mark(world.chassis)
            answer = session(line)
            logged = refusals(world.chassis, before)
            told = session("show refusal")
            again = session("show refusal")
        assert answer.result != 0 and again == "", line
        if text is None:
            expected = ("", [], "")
            answer = ""
        else:
            expected = (text, [f"vty: {row}: {reason}"], f"{line_number(line)} {told_as(row, reason)}\n")
        if (str(answer), logged, str(told)) != expected:
            wrong.append((line, str(answer), logged, str(told)))
    assert wrong == []


def test_gponsh_prints_the_reason_as_a_second_line(world, shell):
    for where, line, text, row, reason in COMMANDS:
        if text is None:
            continue
        done = shell(*(word for step in (*where, line) for word in ("-c", step)))
        if reason == text.strip("% \n"):  # is told once
            assert done.stdout == text, line
        else:
            assert done.stdout == f"{text}  {told_as(row, reason)}\n", line
        assert done.returncode == 1


def test_each_refused_line_of_a_file_has_its_own_reason(world, shell, tmp_path):
    """Lines go out ahead of the answers to those before them."""
    lines = [f"interface gpon-olt1/{port}\n!\n" for port in range(20, 60)]
    path = tmp_path / "lines"
    path.write_text("".join(lines) + "interface gpon-onu1/1:1\n tcont 3 profile nope\n!\n")
    done = shell("-f", path)
    for port in range(20, 60):
        assert f'not exist\n    no interface "gpon-olt1/{port}"\n' in done.stderr
    assert '%Failed to create tcont:3\n    no bandwidth profile "nope" (gpon-onu1/1:1)\n' in done.stderr


def test_sessions_know_their_own_refusals_only(world):
    with world.chassis.open_vty() as one, world.chassis.open_vty() as other:
        assert one("show mib table one").result and other("show mib table other").result
        assert '"other"' in other("show refusal") and '"one"' in one("show refusal")
    with world.chassis.open_vty() as later:
        assert later("show refusal") == ""
        assert "refusal" not in later("list")


def test_gponsh_says_what_a_line_takes_that_the_daemon_does_not_know(world, shell):
    for where, line, hint in [
        (ONU, "tcont 9 profile gold", "tcont: 1 to 8"),
        (ONU, "tcont x profile gold", "tcont: 1 to 8"),
        (ONU, "service-port 1 gemport 77 user-vlan 100 transparent", "gemport: 1 to 30"),
        (PORT, "onu 129 type small sn ABCD00000003", "onu: 1 to 128"),
        (PORT, "onu modify 3 type small", "modify 3: loid, pw or sn"),
        (PORT, "onu modify", "modify: 1 to 128"),
        (CONFIG, "vlan 5000", "vlan: 1 to 4094"),
        (GPON, "profile bandwidth x fixed 1", "fixed: 250 to 800000"),
        (ENABLE, "show slot info more", "info: the end of the line"),
    ]:
        done = shell(*(word for step in (*where, line) for word in ("-c", step)))
        text, second = done.stdout.splitlines()
        assert text.startswith("% "), done.stdout
        assert second == "  " + hint, line
    assert refusals(world.chassis) == []


INT, UINT, TEXT, STATUS = "Integer32", "Gauge32", "OctetString", 6


def test_a_refused_set_leaves_one_line_and_names_the_variable(world):
    """The error index is that of the variable concerned, which isn't the first."""
    tcont, gem, onu = world.tcont, world.gem, world.onu
    cases = [
        (tcont, (1, 1, 1, 1, 3), {3: (TEXT, "a"), 5: (TEXT, "nope"), 6: (INT, 4)}, "badValue", 2,
         "sTcontTable gpon-onu1/1:1 T-CONT 3", 'no bandwidth profile "nope"'),
        (gem, (1, 1, 1, 1, 3), {9: (INT, 4), 4: (TEXT, "a"), 5: (UINT, 7)}, "badValue", 3,
         "sGemTable gpon-onu1/1:1 GEM port 3", "no T-CONT 7"),
        (onu, (1, 1, 1, 5), {4: (INT, 1), 5: (TEXT, "ABCD00000001"), 13: (TEXT, "small"), 17: (INT, 4)}, "badValue", 2,
         "sOnuTable gpon-onu1/1:5", "serial number ABCD00000001 is that of ONU 1 of the port"),
        # nobody knows which one it was: the first
        (world.srvprofile, (129,), {4: (TEXT, "KLM-618"), 6: (INT, 4)}, "badValue", 1, "sOnuSrvProfileTable 129",
         "a service profile has a number from 1 to 128"),
        (tcont, (1, 1, 1, 1, 1), {6: (INT, 6)}, "badValue", 1, "sTcontTable gpon-onu1/1:1 T-CONT 1", "GEM port 1 uses the T-CONT"),
        (tcont, (1, 1, 1, 2, 3), {3: (TEXT, "a"), 5: (TEXT, "gold"), 6: (INT, 4)}, "badValue", 1,
         "sTcontTable gpon-onu1/1:2 T-CONT 3", "gpon-onu1/1:2 takes its settings from service profile 1"),
        # before the application is asked
        (tcont, (1, 1, 1, 1, 1), {5: (TEXT, "gold"), 2: (INT, 4)}, "notWritable", 2,
         "sTcontTable gpon-onu1/1:1 T-CONT 1", "sTcontTableAllocID can't be written"),
        (tcont, (1, 1, 1, 1, 1), {5: (TEXT, "gold"), 3: (INT, 4)}, "wrongType", 2,
         "sTcontTable gpon-onu1/1:1 T-CONT 1", "sTcontTableTcontName is of type OCTET STRING"),
        (tcont, (1, 1, 1, 1, 1), {3: (TEXT, "x" * 40)}, "wrongLength", 1,
         "sTcontTable gpon-onu1/1:1 T-CONT 1", "sTcontTableTcontName takes at most 33 bytes"),
        (onu, (1, 1, 1, 1), {13: (TEXT, "small"), 4: (INT, 77)}, "wrongValue", 2, "sOnuTable gpon-onu1/1:1", None),
        (tcont, (1, 1, 1, 1, 1), {5: (TEXT, "gold"), 6: (INT, 4)}, "inconsistentValue", 2,
         "sTcontTable gpon-onu1/1:1 T-CONT 1", "exists already"),
        (tcont, (1, 1, 1, 1, 9), {3: (TEXT, "a"), 5: (TEXT, "gold")}, "resourceUnavailable", 1,
         "sTcontTable gpon-onu1/1:1 T-CONT 9", "doesn't exist"),
        (tcont, (1, 1, 1, 1, 9), {6: (INT, 1)}, "inconsistentValue", 1, "sTcontTable gpon-onu1/1:1 T-CONT 9", "doesn't exist"),
    ]
    wrong = []
    for table, index, values, status, place, row, reason in cases:
        before = mark(world.chassis)
        name = ".".join(map(str, index))
        answer = world.manager.set(*((f"{table.entry}.{column}.{name}", *value) for column, value in values.items()))
        (logged,) = refusals(world.chassis, before) or ("",)
        if reason is None:
            reason = "sOnuTableAuthMode takes 1 (sn), 2 "
            logged = logged[: len(f"snmp: {row}: {reason}")]
        if (answer["status"], answer["index"], logged) != (status, place, f"snmp: {row}: {reason}"):
            wrong.append((index, values, answer["status"], answer["index"], logged))
    assert wrong == []


def test_a_destroy_of_a_row_that_is_not_there_succeeds(world):
    before = mark(world.chassis)
    assert world.tcont.destroy((1, 1, 1, 1, 9)) == "noError"
    assert world.onu.destroy((1, 1, 1, 99)) == "noError"
    assert refusals(world.chassis, before) == []
    # beside the variables of a row that is there
    row = "1.1.1.1"
    answer = world.manager.set(
        (f"{world.tcont.entry}.6.{row}.9", "Integer32", 6), (f"{world.tcont.entry}.3.{row}.1", "OctetString", "a")
    )
    assert answer["status"] == "noError"
    assert world.tcont.get((1, 1, 1, 1, 1), 3) == "a"
    # but no other variable of it
    answer = world.manager.set(
        (f"{world.tcont.entry}.6.{row}.9", "Integer32", 6), (f"{world.tcont.entry}.3.{row}.9", "OctetString", "a")
    )
    assert (answer["status"], answer["index"]) == ("resourceUnavailable", 2)


def test_a_card_that_refuses_is_the_reason(world, shell):
    world.chassis.card_fault(1, "code", code=5, type="tcont")
    before = mark(world.chassis)
    done = shell(*(word for step in (*ONU, "tcont 3 profile gold") for word in ("-c", step)))
    reason = "the card in slot 1 refused with code 5"
    assert done.stdout == f"%Failed to create tcont:3\n  {reason} (sTcontTable gpon-onu1/1:1 T-CONT 3)\n"
    assert refusals(world.chassis, before) == [f"vty: sTcontTable gpon-onu1/1:1 T-CONT 3: {reason}"]
    world.chassis.card_fault(1, "code", code=5, type="onu")
    before = mark(world.chassis)
    assert add_onu(world, port=1, onu=9) == "badValue"
    assert refusals(world.chassis, before) == [f"snmp: sOnuTable gpon-onu1/1:9: {reason}"]


def test_a_write_of_an_event_that_is_refused_leaves_one_line(world):
    chassis = world.chassis
    before = mark(chassis)
    chassis.event("new-if", ifindex="gpon-olt1/1", flags="up+running")  # has its row already
    chassis.wait_for(lambda: refusals(chassis, before), what="the controller's refusal")
    report = {"ponIfindex": "gpon-olt1/1", "index": 3, "sn": "ABCD0000beef"}
    chassis.card_event(1, "uncfg", **report)
    chassis.card_event(1, "uncfg", **report)  # what it said already is no refusal
    chassis.card_event(1, "uncfg", **{**report, "sn": "ABCD0000bee0"})
    chassis.wait_for(lambda: len(refusals(chassis, before)) == 2, what="the card's refusal")
    assert refusals(chassis, before) == [
        "controller: sPonTable gpon-olt1/1: exists already",
        "card: sOnuInitTable gpon-olt1/1 sOnuInitTableTmpOnuId 3: exists already",
    ]


def test_what_goes_well_leaves_none(world):
    before = mark(world.chassis)
    assert world.chassis.vty(*ONU, "tcont 4 profile gold").result == 0
    assert world.chassis.vty(*ONU, "no tcont 4").result == 0
    assert add_onu(world, port=1, onu=7) == "noError"
    assert world.onu.destroy((1, 1, 1, 7)) == "noError"
    assert world.chassis.vty(*PORT, "no onu 1").result == 0  # with all that it has
    assert refusals(world.chassis, before) == []
