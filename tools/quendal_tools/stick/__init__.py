"""A technician's USB stick: what is on it, how one is prepared, and what a display does with it."""
