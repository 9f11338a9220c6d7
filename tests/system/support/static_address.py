"""What a static address looks like from outside: the commands that set it, and what these write themselves."""

ADDRESS = "sudo ifconfig eth0 192.168.77.10 netmask 255.255.255.0 up"
GATEWAY = "sudo route add default gw 192.168.77.1"
START_UP_COMMANDS = ["sync", "sudo ps", "sudo ps", ADDRESS, GATEWAY]
CYCLE_COMMANDS = ["sudo ifconfig eth0 up", ADDRESS, GATEWAY]

# The route program's own words when it is asked a second time.
ROUTE_IS_THERE = "SIOCADDRT: File exists\n"


def nothing_to_kill(board):
    """What the command that stops a DHCP client writes twice when there is none: kill's own help."""
    return 2 * board.run(["kill", "-9"]).stderr
