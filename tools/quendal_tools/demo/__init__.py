"""The demonstration that ./run shows."""
