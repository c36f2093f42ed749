"""What all people at work have in common: deeds, each done once before any is done by chance."""

import random


class Actor:
    """A subclass's deeds() gives [(how often, method)]."""

    name = "nobody"

    def __init__(self, network, seed):
        self.network = network
        self.random = random.Random(f"{seed} {self.name}")
        self._fresh = []

    def begin(self):
        """Before the first day, when the daemon serves: all deeds are still to be done."""
        self._fresh = [method for _, method in self.deeds()]
        self.random.shuffle(self._fresh)

    def deeds(self):
        raise NotImplementedError

    def act(self):
        if self._fresh:
            method = self._fresh.pop()
        else:
            weights, methods = zip(*self.deeds())
            method = self.random.choices(methods, weights)[0]
        self.network.journal.count(self.name, method.__name__)
        method()

    @property
    def has_done_all(self):
        return not self._fresh

    # ---- for deeds ----------------------------------------------------------------------------------------------

    def type(self, node, *lines):
        return self.network.type(self.name, node, *lines)

    def on_gpon(self, *lines):
        return self.type(("configure terminal", "gpon"), *lines)

    def on_port(self, port, *lines):
        return self.type(("configure terminal", f"interface {port}"), *lines)

    def on_onu(self, onu, *lines):
        return self.type(("configure terminal", f"interface {onu}"), *lines)

    def simctl(self, *words):
        return self.network.simctl(self.name, *words)

    def note(self, what, outcome=""):
        self.network.journal.note(self.name, what, outcome)

    def home(self):
        """Port and number of a subscriber's ONU."""
        return self.random.choice(self.network.scale.homes), self.random.randint(1, self.network.scale.onus)
