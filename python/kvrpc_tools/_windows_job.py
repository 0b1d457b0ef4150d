"""Windows: binds a child process to the life of this one, by a job object.

The system ends all processes of a job when the last handle of the job closes. This process has the
only one and never closes it, so it closes when this process ends, however that happens.
"""

from __future__ import annotations

import ctypes
import functools
import subprocess
import sys
from ctypes import wintypes

_EXTENDED_LIMIT_INFORMATION = 9
_LIMIT_KILL_ON_JOB_CLOSE = 0x2000


class _BasicLimits(ctypes.Structure):
    _fields_ = [
        ("PerProcessUserTimeLimit", ctypes.c_int64),
        ("PerJobUserTimeLimit", ctypes.c_int64),
        ("LimitFlags", wintypes.DWORD),
        ("MinimumWorkingSetSize", ctypes.c_size_t),
        ("MaximumWorkingSetSize", ctypes.c_size_t),
        ("ActiveProcessLimit", wintypes.DWORD),
        ("Affinity", ctypes.c_size_t),
        ("PriorityClass", wintypes.DWORD),
        ("SchedulingClass", wintypes.DWORD),
    ]


class _ExtendedLimits(ctypes.Structure):
    _fields_ = [
        ("BasicLimitInformation", _BasicLimits),
        ("IoInfo", ctypes.c_uint64 * 6),
        ("ProcessMemoryLimit", ctypes.c_size_t),
        ("JobMemoryLimit", ctypes.c_size_t),
        ("PeakProcessMemoryUsed", ctypes.c_size_t),
        ("PeakJobMemoryUsed", ctypes.c_size_t),
    ]


if sys.platform == "win32":
    _kernel32 = ctypes.WinDLL("kernel32", use_last_error=True)
    _kernel32.CreateJobObjectW.restype = wintypes.HANDLE
    _kernel32.CreateJobObjectW.argtypes = (wintypes.LPVOID, wintypes.LPCWSTR)
    _kernel32.SetInformationJobObject.argtypes = (wintypes.HANDLE, ctypes.c_int, wintypes.LPVOID,
                                                  wintypes.DWORD)
    _kernel32.AssignProcessToJobObject.argtypes = (wintypes.HANDLE, wintypes.HANDLE)

    @functools.lru_cache(maxsize=None)
    def _job() -> int:
        """Returns the handle of this process's job."""
        limits = _ExtendedLimits()
        limits.BasicLimitInformation.LimitFlags = _LIMIT_KILL_ON_JOB_CLOSE
        job: int = _kernel32.CreateJobObjectW(None, None)
        if not job or not _kernel32.SetInformationJobObject(
                job, _EXTENDED_LIMIT_INFORMATION, ctypes.byref(limits), ctypes.sizeof(limits)):
            raise ctypes.WinError(ctypes.get_last_error())
        return job

    def bind(process: "subprocess.Popen[bytes]") -> None:
        """Makes the process end when this one ends.

        Before Windows 8 a process has one job at most, so this fails where the starter of this
        process gave it one. The worker then ends at the end of its call.
        """
        _kernel32.AssignProcessToJobObject(_job(), int(process._handle))  # type: ignore[attr-defined]
