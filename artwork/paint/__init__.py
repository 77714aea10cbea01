"""What the launcher's pictures are painted with."""
