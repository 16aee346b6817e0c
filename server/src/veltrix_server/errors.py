"""What goes wrong in ways that the client is told about."""


class Refusal(Exception):
    """A request that is answered with an error status; `label` is the reply's "status"."""

    def __init__(self, status: int, label: str, message: str) -> None:
        super().__init__(message)
        self.status = status
        self.label = label
        self.message = message


class BadRequest(Refusal):
    """The request itself is wrong."""

    def __init__(self, message: str) -> None:
        super().__init__(400, "VALIDATION FAILED", message)


class NotFound(Refusal):
    def __init__(self, message: str) -> None:
        super().__init__(404, "ERROR", message)


class NoSlots(Refusal):
    def __init__(self, message: str) -> None:
        super().__init__(503, "NO SLOTS AVAILABLE", message)


class JobFailure(Exception):
    """A job that cannot be done, for a reason that its submitter can act on."""


class JobCancelled(JobFailure):
    """A job that was ended before it was done; the message says by what."""
