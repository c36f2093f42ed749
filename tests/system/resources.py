"""What is reserved of ports and cards, as an operator sees it."""


def reserved(chassis):
    """({(slot, port): (T-CONTs, GEM ports, fixed and assured bandwidth)}, {slot: service ports}) of "show gpon resources"."""
    ports, cards = {}, {}
    for line in chassis.vty("show gpon resources").splitlines()[2:]:
        words = line.split()
        if words[1] == "all":
            cards[int(words[0])] = int(words[2])
        else:
            ports[int(words[0]), int(words[1])] = (int(words[2]), int(words[3]), int(words[5]))
    return ports, cards
