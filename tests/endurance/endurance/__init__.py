"""What years in a building do to the service, in minutes: many starts and stops, and a load that never ends."""
