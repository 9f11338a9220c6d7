"""What a command line's subcommands are added to; argparse has no public name for it."""

import argparse
from typing import TypeAlias

Subcommands: TypeAlias = "argparse._SubParsersAction[argparse.ArgumentParser]"
