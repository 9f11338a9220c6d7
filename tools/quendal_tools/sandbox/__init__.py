"""Boards made from Linux namespaces, and the PC's side of their network."""
