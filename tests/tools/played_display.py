"""A display played by a test on the loopback interface."""

import socket

from alive_packets import DESCRIPTOR, HEARTBEAT, reply
from quendal_tools.protocol import packet

GROUP = "239.255.77.99"
LOOPBACK = "127.0.0.1"
PATIENCE = 20  # on a busy machine


class PlayedDisplay:
    """Hears the group and replies as it is told."""

    def __init__(self, port):
        self.group = (GROUP, port)
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(LOOPBACK))
        self.socket.setsockopt(
            socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(GROUP) + socket.inet_aton(LOOPBACK))
        self.socket.bind(self.group)
        self.socket.settimeout(PATIENCE)

    def hear(self):
        return packet.LcdPacket.parse(self.socket.recv(1000))

    def heartbeat(self):
        self.socket.sendto(HEARTBEAT, self.group)

    def connect(self, request):
        lines = dict(line.split("=") for line in request.file.data.decode("ascii").splitlines()[1:])
        return socket.create_connection((lines["TCPserverIP"], int(lines["TCPserverPort"])), timeout=PATIENCE)

    def send(self, request, data):
        with self.connect(request) as connection:
            connection.sendall(data)


def reply_to(request, descriptor=DESCRIPTOR):
    words = {name: request.header[name] for name in ("request_word_a", "request_word_b")}
    return reply(descriptor, header=words)
