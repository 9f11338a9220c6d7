"""Boards emulated by QEMU: a real kernel and real hardware to plug and pull."""
