"""What goes wrong."""


class OrnError(ValueError):
    """A file or an image that cannot be read or written.

    The message names the file and the reason.
    """
