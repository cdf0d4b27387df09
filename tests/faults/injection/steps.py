"""The steps of a run, and what it tells when it stops at one."""

SWAP_FAILED = "Copy update to target failed. Performing rollback."
NOT_LAUNCHED = "Unable to relaunch target application."
NOT_CREATED = "Initialization failed."

LOCKING = "taking the update lock"
SEARCHING = "waiting for the target's end and looking for the update"

# The steps of a run, and what it may stop at in each.
STEPS = {
    "looking for the target and the update folder": {
        "Target PID not specified.",
        "Unable to get target process serial number.",
        "Unable to get target process info.",
        "Unable to get target process bundle path.",
        "Unable to get target process bundle id.",
        "Invalid update path.",
        "Invalid update directory.",
    },
    "taking the installer semaphore": {
        "Failed to create installer semaphore.",
        "Failed to acquire installer semaphore.",
    },
    LOCKING: {
        "Failed to create update semaphore.",
        "Failed to acquire update semaphore.",
    },
    SEARCHING: {
        "Failed to watch target process exit.",
        "Target process exit wait expired.",
        "Unable to create File Manager.",
        "Unable to locate update bundle.",
    },
    "making the temporary directory": {"Unable to create temporary directory."},
    "the backup": {"Unable to backup target.", "Bad target bundle backup url."},
    "the swap": {SWAP_FAILED},
    "releasing the semaphores and the relaunch": {NOT_LAUNCHED},
}
NAMES_OF_STEPS = list(STEPS)
FIRST_WITH_A_BACKUP = NAMES_OF_STEPS.index("the backup")

# What leaves the disk as it was, and what may leave a hidden folder, both with the old version untouched in its place.
NOTHING_CHANGED = set().union(*(STEPS[name] for name in NAMES_OF_STEPS[:FIRST_WITH_A_BACKUP]))
STOPPED_BEFORE_THE_SWAP = NOTHING_CHANGED | STEPS["the backup"]


class Progress:
    """How far a run has come, by the files and folders that its steps open first."""

    def __init__(self, installer_semaphore, lock, applications, updates):
        self._beginnings = [("openat", installer_semaphore), ("openat", lock), ("rename", ""),
                            *[("openat", str(applications))] * 3, ("openat", str(updates))]
        self._count = 0

    def step_of(self, name, path):
        """The step that the run's next call belongs to."""
        if (name, path) in self._beginnings[self._count : self._count + 1]:
            self._count += 1
        return NAMES_OF_STEPS[self._count]
