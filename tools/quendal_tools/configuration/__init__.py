"""What a display is told about itself: its ini texts, its numbers, and the example configuration."""
