# SPDX-License-Identifier: LGPL-2.1-or-later
"""What a process costs, by its files in /proc."""
import contextlib
import os
import pathlib
import re
import threading

TICK = os.sysconf("SC_CLK_TCK")


class Process:
    """A process on the stage and what it has cost."""

    def __init__(self, popen):
        self.popen, self.pid = popen, popen.pid

    def cpu_ms(self):
        fields = pathlib.Path(f"/proc/{self.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) * 1000.0 / TICK

    def cpu_fine_ms(self):
        """The same from the scheduler's own account, for what takes less than a tick."""
        tasks = pathlib.Path(f"/proc/{self.pid}/task").iterdir()
        return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks) / 1e6

    def _status(self, name):
        text = pathlib.Path(f"/proc/{self.pid}/status").read_text()
        return int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1))

    def peak_mb(self):
        return self._status("VmHWM") / 1024.0

    def memory_mb(self):
        return self._status("VmRSS") / 1024.0

    @contextlib.contextmanager
    def watch_own_mb(self):
        """The most of the memory of its own, without files that are mapped, while the block runs; in a list."""
        peak, ended = [0.0], threading.Event()

        def look():
            while not ended.wait(0.001):
                peak[0] = max(peak[0], self._status("RssAnon") / 1024.0)
        thread = threading.Thread(target=look)
        thread.start()
        try:
            yield peak
        finally:
            ended.set()
            thread.join()

    def own_mb(self):
        return self._status("RssAnon") / 1024.0

    def rollup_mb(self, name):
        """"Rss" or "Pss" (shared memory by its share) of the process."""
        text = pathlib.Path(f"/proc/{self.pid}/smaps_rollup").read_text()
        return int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1)) / 1024.0

    def maps(self):
        return pathlib.Path(f"/proc/{self.pid}/maps").read_text()

    def forget_peak(self):
        """peak_mb() tells from now on of what comes."""
        pathlib.Path(f"/proc/{self.pid}/clear_refs").write_text("5")

    def open_files(self):
        return len(list(pathlib.Path(f"/proc/{self.pid}/fd").iterdir()))

    def threads(self):
        return len(list(pathlib.Path(f"/proc/{self.pid}/task").iterdir()))

    def wakeups(self):
        """Voluntary context switches of all threads: each is one wake-up."""
        total = 0
        for task in pathlib.Path(f"/proc/{self.pid}/task").iterdir():
            text = (task / "status").read_text()
            total += int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", text, re.M).group(1))
        return total
