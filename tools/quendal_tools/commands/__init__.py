"""The subcommands of tools/transmitter, which is what a PC gets, and what they show on the screen."""
