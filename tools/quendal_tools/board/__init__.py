"""What every board of the test rig has, sandboxed or emulated: its folders, its display, the service's output."""
