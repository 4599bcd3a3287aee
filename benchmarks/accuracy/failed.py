class Failed(Exception):
    """A take cannot be used; says why."""
