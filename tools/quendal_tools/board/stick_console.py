"""What the service writes about a technician's stick, as a reader of its error stream gets it."""

ANNOUNCED = "\nusb thumbdrive first time plugged,mounting..."
NOT_FOUND = "\nKVCFG Not found on usb drive!"
FORMAT_ERROR = "\nFormat error found. \r\n Ignored this layout or file update!"
FINISHED = "\nFile copying finished."

EDGE = "\n###########################################################"
EMPTY = (EDGE + "\n######        The Plug-in USB Drive is EMPTY!        ######"
         "\n######   Gonna create KVSOURCE Folder for Zip File   ######")
HUB = "\n######      Copying Package_Hub.zip file......       ######"
LAYOUT = "\n######      Copying Package_Lyt.zip file......       ######"
RESTARTING = "\nGoing to reboot device......"


def found(name: str) -> str:
    return f"\nUSB drive found: [/dev/{name}]"


def mounting(name: str) -> str:
    return ANNOUNCED + f"\nMounting USB drive......\n>>sudo mount -t vfat /dev/{name} -w /data/home/{name}"


def releasing(name: str) -> str:
    return f"\nto umount drv:{name}"


def searching(name: str) -> str:
    return f"\nSearching /KVCFG folder in USB Device,\n>>/data/home/{name}/KVCFG......\n"


def listed(file_list: str) -> str:
    return f"\n{58 * '*'}\n*********  Going to extract file name from fileList:[\n{file_list}]\n"
