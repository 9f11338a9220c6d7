"""What a static address looks like from outside: the commands that set it, and what these write themselves."""

from quendal_tools.configuration.example import ADDRESS, GATEWAY

SET_ADDRESS = f"sudo ifconfig eth0 {ADDRESS} netmask 255.255.255.0 up"
SET_GATEWAY = f"sudo route add default gw {GATEWAY}"
START_UP_COMMANDS = ["sync", "sudo ps", "sudo ps", SET_ADDRESS, SET_GATEWAY]
CYCLE_COMMANDS = ["sudo ifconfig eth0 up", SET_ADDRESS, SET_GATEWAY]

# The route program's own words when it is asked a second time.
ROUTE_IS_THERE = "SIOCADDRT: File exists\n"


def nothing_to_kill(board):
    """What the command that stops a DHCP client writes twice when there is none: kill's own help."""
    return 2 * board.run(["kill", "-9"]).stderr
