"""A service whose log is part of the report of a test that fails while it runs."""

from cimgate_host import Service

# The end of a log says what went wrong; all of it can be thousands of lines.
SHOWN_CHARACTERS = 4000


class ServiceWithLog(Service):
    """To be used with a with statement, inside the test: only there does it see the failure."""

    def __exit__(self, error_type, error, trace):
        if error is not None:
            error.add_note(f"standard error of cimgated:\n{self.log()[-SHOWN_CHARACTERS:]}")
        super().__exit__(error_type, error, trace)
