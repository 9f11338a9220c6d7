"""A technician's stick in a real USB port: what each kind of it does, and what lies on it afterwards."""

import io
import re
import tarfile

from quendal_tools.board import stick_console
from quendal_tools.board.layout import LOG, TARGET, WORK
from quendal_tools.configuration.example import LIST_NAME

LIST = "[new_local_dist_task]\nfileList = a#0#FileList.sys;b#0#layout.zip\n"
MOUNTED = "/dev/sda1 /data/home/sda1\n"


def folder(content):
    """A configuration folder with its list and the files it names."""
    return {LIST_NAME: LIST.encode(), "FileList.sys": b"layout.zip\r\n", "layout.zip": content}


def content_of(archive, member):
    file = archive.extractfile(member)
    assert file, member
    return file.read()


def under(path, files):
    return {f"{path}/{name}": data for name, data in files.items()}


def test_configuration_stick_is_imported_once_and_released_when_pulled(make_rig, make_stick):
    content = {**under("KVCFG/0.0.0", folder(b"for all")), **under("KVCFG/1.2.3", folder(b"for this one")),
               **under("KVCFG/9.9.9", folder(b"for another"))}
    stick = make_stick(content)
    rig = make_rig(plugged=stick)

    started = rig.await_event("START2RX")
    completed = rig.await_event("RXCOMPLETE")
    rig.await_link()

    assert completed - started >= 11.9
    assert stick_console.found("sda1") in rig.service.stderr_text()
    assert rig.tell(f"cat {TARGET}/layout.zip") == "for this one"
    assert rig.tell(f"ls {TARGET}") == "FileList.sys\nkvXferStop.sys\nlayout.zip\n"
    assert rig.mounted() == MOUNTED
    assert rig.service.stderr_text().count(stick_console.ANNOUNCED) == 1

    rig.board.unplug()
    rig.await_text(stick_console.releasing("sda1"))
    rig.await_answer("grep /dev/sd /proc/mounts", "")

    files = {name: data for name, data in stick.content().items() if data is not None}
    assert files == content
    assert rig.board.display.names() == ["START2RX", "RXCOMPLETE", "NETW_UP"]


def test_log_stick_receives_the_packed_logs_and_the_board_restarts(make_rig, make_stick):
    stick = make_stick({"KVLOG": None, "KVCFG/1.2.3/layout.zip": b"not looked at"})
    files = {f"{LOG}/zeloOld.log": "kept", "/tmp/Tivrane_LogSession.log": "this session",
             "/var/log/messages": "kernel", "/data/app/kavenor/LogReset.dat": ""}
    rig = make_rig(plugged=stick, files=files)

    rig.await_text(stick_console.RESTARTING)
    rig.await_reboot()

    archive = tarfile.open(fileobj=io.BytesIO(stick.content()["KVLOG/zelo-curLogs.tar.gz"]))
    logs = {re.sub(r"-\d\.log", "-DAY.log", member.name): content_of(archive, member)
            for member in archive if member.isfile()}
    assert set(logs) == {"Log/zeloOld.log", "Log/zeloApp-DAY.log", "Log/zeloKernMsg-DAY.log", "Log/LogReset.dat.bak"}
    assert logs["Log/zeloApp-DAY.log"] == b"this session"
    assert logs["Log/zeloKernMsg-DAY.log"] == b"kernel"
    assert logs["Log/LogReset.dat.bak"].startswith(b"thermal@")
    assert "KVCFG/1.2.3/layout.zip" in stick.content()
    assert stick_console.NOT_FOUND in rig.service.stderr_text()


def test_backup_stick_receives_the_application_tree_and_the_board_restarts(make_rig, make_stick):
    stick = make_stick({"KVBAK": None})
    rig = make_rig(plugged=stick, files={f"{WORK}/layout/Big.bin": bytes(range(256)) * 4096})

    rig.await_text(stick_console.NOT_FOUND)
    rig.await_reboot()

    saved = stick.content()
    assert saved["KVBAK/app/kavenor/Work/layout/Big.bin"] == bytes(range(256)) * 4096
    assert saved["KVBAK/app/kavenor/Work/KvId.ini"].startswith(b"; Who this display is")
    assert "KVBAK/app/kavenor/bin/Quendal_L" in saved


def test_prepared_package_stick_takes_the_logs_and_keeps_its_own_folder_empty(make_rig, make_stick):
    # The stick is released before its folders are looked at, so the packages go to the bare mount point.
    stick = make_stick({"KVLOG": None, "KVSOURCE": None})
    files = {f"{WORK}/Package_Hub.zip": b"hub", f"{WORK}/Package_Lyt.zip": b"layout", f"{LOG}/a.log": b""}
    rig = make_rig(plugged=stick, files=files)

    rig.await_text(stick_console.HUB)
    rig.await_text(stick_console.LAYOUT)
    rig.await_reboot()

    assert stick_console.EMPTY in rig.service.stderr_text()
    assert set(stick.content()) == {"KVLOG", "KVLOG/zelo-curLogs.tar.gz", "KVSOURCE"}


def test_package_stick_without_log_folder_is_left_alone(make_rig, make_stick):
    stick = make_stick({"KVSOURCE": None})
    rig = make_rig(plugged=stick, files={f"{WORK}/Package_Hub.zip": b"hub"})

    rig.await_text(stick_console.NOT_FOUND)
    rig.await_link()

    assert rig.mounted() == MOUNTED
    assert "Package_Hub.zip" not in rig.service.stderr_text()
    rig.board.unplug()
    assert set(stick.content()) == {"KVSOURCE"}


def test_stick_with_other_things_and_no_partitions_is_mounted_anew_at_each_plugging(make_rig, make_stick):
    content = {"holiday.jpg": b"\xff\xd8"}
    stick = make_stick(content, partitioned=False)
    rig = make_rig(plugged=stick)

    rig.await_text(stick_console.NOT_FOUND)
    assert rig.mounted() == "/dev/sda /data/home/sda\n"
    rig.board.unplug()
    mark = rig.await_text(stick_console.releasing("sda"))
    rig.await_answer("grep /dev/sd /proc/mounts", "")
    rig.board.plug(stick)
    rig.await_text(stick_console.NOT_FOUND, after=mark)

    assert rig.mounted() == "/dev/sda /data/home/sda\n"
    assert rig.service.stderr_text().count(stick_console.ANNOUNCED) == 2
    assert stick.content() == content
