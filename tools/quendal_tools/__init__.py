"""Tools around the file-reception service: packets, transmitter, display and the sandboxed board."""
