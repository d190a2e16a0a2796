"""Records and functions of the library for Python's ctypes, which needs nothing installed.

The package in python/ does more: arrays and tables in, results with names out, calls from any thread.
"""

import ctypes
from ctypes import POINTER, Structure, c_char, c_double, c_float, c_int32

YES, NO = 1, 2
SUCCESS, FAILURE = 1, 3


class t_icdata(Structure):
    _fields_ = [
        ("d_x", c_double),
        ("d_y", c_double),
        ("d_val", c_double),
        ("i_passno", c_int32),
        ("i_reserved", c_int32),
    ]


class t_statsout(Structure):
    _fields_ = [
        ("i_flag_target", c_int32),
        ("i_target_met", c_int32),
        ("i_numdata", c_int32),
        ("x_stat", c_float * 15),
        ("i_numbins", c_int32),
        ("x_bin", c_float * 200),
        ("x_freq", c_float * 200),
        ("x_cumfreq", c_float * 200),
        ("x_target", c_float),
        ("x_target_pct", c_float),
        ("x_achieved_pct", c_float),
        ("x_pctlevel", c_float * 2),
        ("x_pctvalue", c_float * 2),
    ]


class t_fitout(Structure):
    _fields_ = [("i_degree", c_int32), ("x_coef", c_float * 10), ("x_rsq", c_float)]


class t_gamvset_user(Structure):
    _fields_ = [
        ("i_nlag", c_int32),
        ("x_xlag", c_float),
        ("x_azm", c_float),
        ("x_atol", c_float),
        ("x_bandwh", c_float),
        ("i_standsills", c_int32),
    ]


class t_passbin(Structure):
    _fields_ = [("i_pass_lower", c_int32), ("i_pass_upper", c_int32)]


class t_areaflt(Structure):
    _fields_ = [
        ("i_flag_exclusion", c_int32),
        ("i_numvertices", c_int32),
        ("d_vert_x", c_double * 10000),
        ("d_vert_y", c_double * 10000),
    ]


class t_binresult(Structure):
    _fields_ = [("x_coverage", c_float), ("x_compacted_area", c_float), ("x_plan_area", c_float)]


class t_event(Structure):
    _fields_ = [
        ("c_description", c_char * 256),
        ("c_subfunc", c_char * 256),
        ("i_errcode", c_int32),
        ("i_errclass", c_int32),
    ]

    @property
    def description(self) -> str:
        return self.c_description.decode("ascii").rstrip()  # padded with blanks

    @property
    def path(self) -> str:
        return self.c_subfunc.decode("ascii").rstrip()


SIZES = {
    t_icdata: 32, t_statsout: 2504, t_fitout: 48, t_gamvset_user: 24,
    t_passbin: 8, t_areaflt: 160008, t_binresult: 12, t_event: 520,
}  # fmt: skip
for record, size in SIZES.items():
    assert ctypes.sizeof(record) == size, record

FUNCTIONS = {
    "ICdata_stats": [c_int32, c_int32, c_int32, POINTER(t_icdata), POINTER(t_statsout)],
    "IC_compact_curve_b": [
        c_int32, c_int32, c_int32, POINTER(t_icdata), POINTER(c_int32), POINTER(c_double),
        POINTER(c_double), POINTER(c_double), POINTER(t_fitout),
    ],
    "IC_semivariogram": [
        c_int32, POINTER(t_icdata), POINTER(t_gamvset_user), POINTER(c_double), POINTER(c_double),
        POINTER(c_double), POINTER(c_double), POINTER(c_double), POINTER(c_float),
    ],
    "find_points_in_circle": [
        c_int32, c_double, POINTER(c_double), POINTER(c_double), POINTER(c_double),
        POINTER(c_int32), POINTER(c_int32),
    ],
    "find_points_in_polygon": [
        c_int32, c_int32, POINTER(c_double), POINTER(c_double), POINTER(c_double),
        POINTER(c_double), POINTER(c_int32), POINTER(c_int32),
    ],
    "IC_PointsData_stats": [
        c_int32, c_int32, c_double, POINTER(t_icdata), POINTER(t_icdata), POINTER(t_statsout),
        POINTER(c_float), POINTER(c_int32), POINTER(c_int32), POINTER(c_double),
    ],
    "IC_coverage": [
        POINTER(c_float), c_int32, c_int32, c_int32, POINTER(t_passbin), POINTER(t_icdata),
        POINTER(t_areaflt), POINTER(t_binresult),
    ],
}  # fmt: skip


def load(path: str) -> ctypes.CDLL:
    """The library with the types of its arguments; the event is the last of each but one."""
    library = ctypes.CDLL(path)
    for name, arguments in FUNCTIONS.items():
        getattr(library, name).argtypes = [*arguments, POINTER(t_event)]
    library.call_polycurvefit.argtypes = [c_int32, c_int32, *[POINTER(c_float)] * 4]
    return library
