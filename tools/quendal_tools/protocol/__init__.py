"""What passes between a transmitter and the displays: packets, transfers and the search for displays."""
