"""Sending a package to many displays at once: who gets what, how it went, and what is left of it as a file."""
