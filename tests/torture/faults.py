"""One call of a run that fails: what the run may do then, and what has to hold afterwards."""
import json
import random

from backups import missing_everywhere
from checks import NUMBER, Outcome, check_untouched, come_to_rest, differing_records
from household import texts_of
from stage import DONE, Failure

ERRORS = ("EIO", "ENOSPC", "EACCES")
READING = {"read", "readv", "pread64", "preadv", "preadv2", "getdents64", "stat", "lstat", "newfstatat", "statx", "access",
           "faccessat", "faccessat2", "readlink", "readlinkat"}
# Calls on what is open already: whoever has it may use it.
OPEN_ALREADY = {"read", "readv", "pread64", "preadv", "preadv2", "getdents64", "write", "writev", "pwrite64", "pwritev",
                "pwritev2", "ftruncate", "fallocate", "fchmod", "fchown", "fsetxattr", "fsync", "fdatasync", "syncfs",
                "sync_file_range", "sendfile", "copy_file_range", "splice"}

# A folder that cannot be asked about counts as taken, and the new calendar gets another one.
LEFT_OUT = (*NUMBER, "SourceKey")


def can_answer(call, error):
    """Whether a call of that name can end that way."""
    name = call.split(" ", 1)[0]
    return name not in {"ENOSPC": READING, "EACCES": OPEN_ALREADY}.get(error, ())


class Faults:
    """A scenario whose run is made again with one call failing."""

    def __init__(self, scenario):
        self.scenario = scenario
        self.stage = scenario.stage
        self.stage.put_back()
        self.texts = texts_of(self.stage.here)
        self.calls = self.stage.calls_with_reads()
        # What the home gives when nothing fails.
        self.records = self.stage.here.records()

    def numbers(self, error, share=1, seed=0):
        """The calls that can end that way; of each K of them that follow each other, one."""
        able = [number for number, call in enumerate(self.calls, 1) if can_answer(call, error)]
        pick = random.Random(f"{seed} {self.scenario.name} {error}")
        return [pick.choice(able[first:first + share]) for first in range(0, len(able), share)]

    def check_after(self, number, error):
        """Why it is not right after this call has failed, or None."""
        self.stage.put_back()
        try:
            self.check_run(self.stage.fail_once(number, error))
            come_to_rest(self.stage)
            check_untouched(self.stage, self.scenario.untouched)
            Outcome(self.stage).check_same(self.scenario.expected, LEFT_OUT)
        except (Failure, AssertionError) as failure:
            return str(failure)
        return None

    def check_run(self, done):
        """The run itself: it ends by itself, says what happened, leaves a store that opens, and no text is gone."""
        said = done.stdout + done.stderr
        if done.returncode not in (0, 1):
            raise Failure(f"it ends with {done.returncode}: {said}")
        records = self.stage.here.records()
        if done.returncode == 1 and (DONE in said or not said.strip()):
            raise Failure(f"it fails and says: {said!r}")
        if done.returncode == 0:
            self.check_success(json.loads(done.stdout), records)
        gone = missing_everywhere(self.stage.here, self.texts)
        if gone:
            raise Failure(f"neither in the store nor in a backup: {gone}")

    def check_success(self, report, records):
        """Whoever says that all is well has done all of it, but for what it names."""
        if not report["completed"] or report["status"] != DONE:
            raise Failure(f"it ends with 0 and says: {report}")
        unlike = differing_records(self.records, records, LEFT_OUT)
        if unlike and not report["newlyUnread"]:
            raise Failure(f"it says that all is well, but {unlike}")
