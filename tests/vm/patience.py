"""For pytest (-p patience): a machine that is played by another one is slower."""

import functools
import inspect

import chassis

TIMES = 6


def patient(function):
    """The function with all its timeouts longer."""
    parameters = inspect.signature(function)

    @functools.wraps(function)
    def wrapped(*args, **kwargs):
        bound = parameters.bind(*args, **kwargs)
        bound.apply_defaults()
        if bound.arguments.get("timeout"):
            bound.arguments["timeout"] *= TIMES
        return function(*bound.args, **bound.kwargs)

    return wrapped


chassis.wait_for = patient(chassis.wait_for)
chassis.Vty.__init__ = patient(chassis.Vty.__init__)
for name in ("wait_record", "simctl"):
    setattr(chassis.Chassis, name, patient(getattr(chassis.Chassis, name)))
