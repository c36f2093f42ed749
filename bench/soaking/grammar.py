"""Lines of commands, made from the syntax that the daemon's own "list" prints: whatever can be typed on a node is typed."""

import re

#: What is left to others: they enter nodes, end sessions, fill the log, wait for servers, or take everything away.
LEFT_OUT = re.compile(
    r"^(list|exit|quit|end|enable|disable|configure|find|terminal|interface|gpon$|vlan \(|onu-srvprofile|debug|no debug|tftp|help|"
    r"drv-cmd|json|copy config|clear config|delete onuversion|write|no onu \(|no multi|protectgroup|no protectgroup|onu upgrade|"
    r"no onu-srvprofile|no profile|onu auto-auth)"
)
_TOKEN = re.compile(r"<(?:[^<>])*>|\[[^\]]*\]|\(-?\d+-\d+\)|\S+")

WORDS = {
    "TYPE": ("KLM-618", "KLM-618", "HOME-4", "none"),
    "ONUTYPENAME": ("KLM-618", "HOME-4", "none"),
    "PROFILE": ("default", "home", "home", "voice", "none"),
    "NAME": ("default", "home", "homes", "flats", "car", "none"),
    "PROFILEENAME": ("homes", "flats", "offices"),
    "A.B.C.D": ("10.0.0.1", "192.168.1.1", "255.255.255.0", "0.0.0.0"),
    "TABLE": ("sOnuTable", "sGemTable", "SPON", "none"),
    "VERSIONFILE": ("soak.bin", "none.bin"),
    "EQPTID": ("SIM-ONU-4E2V", "HOME-4"),
    "UNI": ("eth_1/1", "eth_1/2", "eth_1/4", "pots_1/1", "pots_1/2", "video_1/1", "veip", "eth_9/9"),
    "MMMM-MMMM-MMMM": ("0011-2233-4455", "00aa-bbcc-ddee", "x"),
    "SHAREKEY": ("to-be-kept-secret", "short"),
    "ETH": ("1", "1,2", "4", "9"),
    "SSID": ("1", "1,2", "4"),
    "SSIDADC": ("5", "5,6", "8"),
    "RANGE": ("1-3", "1000", "1000-2000", "0"),
    "RANGE...": ("1-4", "1 3", "7"),
    "ONUID...": ("1-4", "1 3", "7"),
    "INDEX...": ("1 1 1 1", "1 1 1 1 1", "x"),
    "BEGINNING": ("gpon-onu1/1", "d"),
    "VLANS": ("100", "100,200-210"),
}


class Grammar:
    def __init__(self, random, names):
        """names: a function that gives the name of an interface."""
        self.random, self.names = random, names
        self._forms = {}

    def learn(self, key, text):
        """Takes what "list" printed on a node."""
        forms = [line.strip() for line in text.splitlines() if line.strip()]
        self._forms[key] = [form for form in forms if not LEFT_OUT.match(form)]

    def knows(self, key):
        return key in self._forms

    def shows(self, key):
        return [form for form in self._forms[key] if form.startswith("show ")]

    def changes(self, key):
        return [form for form in self._forms[key] if not form.startswith("show ")]

    def line(self, form):
        return " ".join(filter(None, (self._word(token) for token in _TOKEN.findall(form))))

    def _word(self, token):
        random = self.random
        if token[0] == "[":
            return self._word(token[1:-1]) if random.random() < 0.5 else ""
        if token[0] == "<" and token[-1] == ">":
            return self._word(random.choice(token[1:-1].split("|")).strip())
        if found := re.fullmatch(r"\((-?\d+)-(\d+)\)", token):
            return str(self._number(*map(int, found.groups())))
        if token in ("IFNAME", "IFNAME..."):
            return self.names()
        if token in WORDS:
            return random.choice(WORDS[token])
        if re.fullmatch(r"[A-Z_0-9]*UNI[A-Z_0-9]*|[A-Z_]*PORT", token):
            return random.choice(WORDS["UNI"])
        if re.fullmatch(r"(ALARM|WARN)[LH]", token):
            return str(random.randrange(-4000, 9000))
        if "VLAN" in token and token.isupper():
            return random.choice(WORDS["VLANS"])
        if re.fullmatch(r"[A-Z][A-Z_0-9.-]+(\.\.\.)?", token):
            return random.choice(("default", "home", "soak", "SOAK01010001", "10", "x" * random.randrange(1, 40)))
        return token

    def _number(self, low, high):
        """Mostly small ones, so that they meet."""
        random = self.random
        if random.random() < 0.7:
            return random.randint(low, min(high, low + 3))
        return random.choice((low, high, random.randint(low, high), high + 1))


def mistyped(random, line):
    """The line with a mistake such as fingers make."""
    words = line.split()
    place = random.randrange(len(words))
    kind = random.randrange(5)
    if kind == 0:
        del words[place]
    elif kind == 1:
        words[place] += random.choice("xy1-")
    elif kind == 2:
        words.insert(place, random.choice(("no", "foo", "|", "?", "%", "\t", "x" * 300)))
    elif kind == 3:
        words[place] = words[place][: len(words[place]) // 2]
    else:
        random.shuffle(words)
    return " ".join(words)
