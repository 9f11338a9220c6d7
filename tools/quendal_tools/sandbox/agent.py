"""The sandbox's processes: the keeper on the host, the PC's agent and one agent for each board.

    test process -- keeper -- PC agent (process 1 of the PC's side) -- board agent (process 1 of a board)

An agent starts programs in its namespaces and makes sockets there. Each of them dies with the one
before it, and process 1 takes along everything that runs in its namespace, so nothing is left
behind however the test process ends. Only modules that load fast are used: this is most of the
time that a board takes to come up.
"""

import os
import select
import shutil
import signal
import socket
import sys
from collections.abc import Callable

from quendal_tools.sandbox import board_root, kernel, messages, programs

PC_NAMESPACES = kernel.CLONE_NEWNET | kernel.CLONE_NEWNS | kernel.CLONE_NEWPID
BOARD_NAMESPACES = PC_NAMESPACES | kernel.CLONE_NEWIPC | kernel.CLONE_NEWUTS

Plan = dict
# What is told back, and the descriptors that go with it.
Outcome = tuple[messages.Message, list[int]]


class Agent:
    """Answers requests on a channel; the process that runs it is process 1 of its namespace."""

    def __init__(self, channel: socket.socket) -> None:
        self.channel = channel
        self.children = programs.Children()
        self.watch = select.poll()
        self.watch.register(channel, select.POLLIN)
        self.watch.register(self.children.wake_up, select.POLLIN)

    def serve(self) -> None:
        while True:
            for descriptor, _ in self.watch.poll():
                if descriptor == self.children.wake_up:
                    self.children.reap()
                elif not self.answer():
                    return

    def answer(self) -> bool:
        request, descriptors = messages.receive(self.channel)
        if request is None:
            return False
        handler = getattr(self, "do_" + request.pop("do"))
        try:
            reply, passed = handler(descriptors, **request)
        except OSError as error:
            reply, passed = {"error": reason(error)}, []
        messages.close_all(descriptors)
        messages.send(self.channel, reply, passed)
        messages.close_all(passed)
        return True

    def do_socket(self, _: list[int], family: int, kind: int, protocol: int) -> Outcome:
        return {}, [socket.socket(family, kind, protocol).detach()]

    def do_start(self, descriptors: list[int], argv: list[str], env: dict[str, str], cwd: str) -> Outcome:
        process = self.children.start(argv, env, cwd, descriptors)
        return {"process": process}, [os.pidfd_open(process)]

    def do_status(self, _: list[int], process: int) -> Outcome:
        return {"status": self.children.status(process)}, []


class PcAgent(Agent):
    """The PC's side of the network: a bridge that every board's cable is plugged into."""

    def do_board(self, descriptors: list[int], plan: Plan) -> Outcome:
        channel = socket.socket(fileno=os.dup(descriptors[0]))
        go_read, go_write = os.pipe()
        ready_read, ready_write = os.pipe()
        process = os.fork()
        if process == 0:
            run_board_keeper(channel, plan, ready_write, go_read)
        channel.close()
        messages.close_all([go_read, ready_write])
        try:
            if not os.read(ready_read, 1):
                raise OSError("the board's namespaces were refused")
            programs.run_ip([
                f"link add {plan['cable']} type veth peer name eth0 address {plan['mac']} netns {process}",
                f"link set {plan['cable']} master br0 up"])
            os.write(go_write, b"g")
        finally:
            messages.close_all([go_write, ready_read])
        return {}, []


def reason(error: OSError) -> str:
    return error.strerror or str(error)


def run_board_keeper(channel: socket.socket, plan: Plan, ready: int, go: int) -> None:
    """Makes the board's namespaces and its process 1, and waits for that; never returns."""
    with programs.exiting_process():
        kernel.set_parent_death_signal(signal.SIGKILL)
        kernel.unshare(BOARD_NAMESPACES)
        process = None
        os.write(ready, b"r")
        if os.read(go, 1):
            process = os.fork()
            if process == 0:
                run_board(channel, plan)
            channel.close()
            os.waitpid(process, 0)


def run_board(channel: socket.socket, plan: Plan) -> None:
    """Process 1 of a board; never returns."""
    def set_up() -> None:
        board_root.enter(plan["root"], plan["tools"])
        kernel.set_host_name(plan["name"])
        programs.run_ip(plan["network"])

    serve_as_first_process(channel, set_up, Agent)


def run_pc(channel: socket.socket, plan: Plan) -> None:
    """Process 1 of the PC's side; never returns."""
    def set_up() -> None:
        kernel.mount(None, "/", None, kernel.MS_REC | kernel.MS_PRIVATE)
        board_root.mount_kernel_files("/")
        programs.run_ip(plan["network"])

    serve_as_first_process(channel, set_up, PcAgent)


def serve_as_first_process(channel: socket.socket, set_up: Callable[[], None], agent: type[Agent]) -> None:
    """Tells the test process that all is set up, or why not, and then does what it asks."""
    with programs.exiting_process():
        kernel.set_parent_death_signal(signal.SIGKILL)
        try:
            set_up()
        except OSError as error:
            messages.send(channel, {"error": reason(error)})
            return
        myself = os.pidfd_open(os.getpid())
        messages.send(channel, {}, [myself])
        os.close(myself)
        agent(channel).serve()


def enter_namespaces() -> None:
    """A user namespace in which this user is root, with the PC's side in it."""
    user, group = os.geteuid(), os.getegid()
    kernel.unshare(kernel.CLONE_NEWUSER)
    for name, content in (("setgroups", "deny"), ("uid_map", f"0 {user} 1"), ("gid_map", f"0 {group} 1")):
        with open("/proc/self/" + name, "w") as file:
            file.write(content)
    kernel.unshare(PC_NAMESPACES)


def start_pc(channel: socket.socket, plan: Plan) -> int | None:
    """Forks process 1 of the PC's side, in namespaces of its own; None when the kernel refuses these, which is told."""
    try:
        enter_namespaces()
        process = os.fork()
    except OSError as error:
        messages.send(channel, {"error": reason(error)})
        return None
    if process == 0:
        run_pc(channel, plan)
    return process


def main() -> None:
    """The keeper: arguments are the channel's descriptor, the test process's id and the directory to remove."""
    channel = socket.socket(fileno=int(sys.argv[1]))
    parent = os.pidfd_open(int(sys.argv[2]))
    directory = sys.argv[3]
    plan, _ = messages.receive(channel)
    process = start_pc(channel, plan) if plan else None
    channel.close()
    if process:
        watch = select.poll()
        for descriptor in (parent, os.pidfd_open(process)):
            watch.register(descriptor, select.POLLIN)
        watch.poll()
        os.kill(process, signal.SIGKILL)
        os.waitpid(process, 0)
    shutil.rmtree(directory, ignore_errors=True)
