"""DLPack between this library and NumPy, both ways, in place.

Run as /usr/bin/python3 dlpack_numpy.py PATH/dlpack_peer.so.  Exports of this
library taken by numpy.from_dlpack and NumPy arrays' own capsules imported
here must show the same elements at the same addresses, writes on either
side must show on the other, and each deleter must run exactly once, when
the last user lets go.  A missing numpy is a failure, not a skip.
"""
import ctypes
import gc
import sys

import numpy as np

peer = ctypes.PyDLL(sys.argv[1])  # keeps the interpreter lock: NumPy's deleter needs it
C = ctypes
for name, restype, argtypes in [("export", C.c_void_p, [C.c_int]), ("import", C.c_int, [C.c_void_p]),
                                ("address", C.c_void_p, [C.c_int, C.c_long, C.c_long]),
                                ("dim", C.c_long, [C.c_int, C.c_long]),
                                ("get", C.c_double, [C.c_int, C.c_long, C.c_long]),
                                ("set", None, [C.c_int, C.c_long, C.c_long, C.c_double]),
                                ("drop", None, [C.c_int]), ("deleter_calls", C.c_long, [])]:
    f = getattr(peer, "peer_" + name)
    f.restype, f.argtypes = restype, argtypes

api = ctypes.pythonapi
api.PyCapsule_New.restype = ctypes.py_object
api.PyCapsule_New.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]
api.PyCapsule_GetPointer.restype = ctypes.c_void_p
api.PyCapsule_GetPointer.argtypes = [ctypes.py_object, ctypes.c_char_p]
api.PyCapsule_SetName.argtypes = [ctypes.py_object, ctypes.c_char_p]
DLTENSOR, USED = b"dltensor", b"used_dltensor"  # capsules keep the pointers

failures = []
checks = 0


def check(ok, what):
    global checks
    checks += 1
    if not ok:
        failures.append(what)
        print("FAIL:", what)


class Lent:
    """A tensor of this library as NumPy's from_dlpack wants it."""

    def __init__(self, tensor):
        self.capsule = api.PyCapsule_New(tensor, DLTENSOR, None)

    def __dlpack__(self, stream=None):
        return self.capsule

    def __dlpack_device__(self):
        return (1, 0)


def address(a, i, j):
    return a.__array_interface__["data"][0] + i * a.strides[0] + j * a.strides[1]


def make_writable(a):
    """NumPy 1.24 makes imported arrays read-only; the flags field of the
    array object (checked against flags.num first) gets WRITEABLE."""
    flags = ctypes.c_int.from_address(id(a) + 64)
    assert flags.value == a.flags.num, "unexpected array object layout"
    flags.value |= 0x400


# ---- ours to NumPy: double, complex, int8, a strided view, logical as uint8
for case, (dtype, shape) in enumerate([(np.float64, (2, 3)), (np.complex128, (2, 3)), (np.int8, (2, 3)),
                                       (np.float64, (2, 2)), (np.uint8, (2, 3))]):
    name = "export %d" % case
    calls = peer.peer_deleter_calls()
    a = np.from_dlpack(Lent(peer.peer_export(case)))
    if case == 3:
        peer.peer_drop(case)  # the tensor alone keeps the view's block alive
    check(a.dtype == dtype and a.shape == shape, name + ": dtype and shape")
    i, j = np.indices(shape)
    expected = (i + j) % 2 if case == 4 else 1 + i + 10 * j + (-(i + 1) * 1j if case == 1 else 0)
    check(np.array_equal(a, expected.astype(dtype)), name + ": values")
    if case != 3:
        check(all(address(a, i, j) == peer.peer_address(case, i, j) for i in range(shape[0])
                  for j in range(shape[1])), name + ": same addresses")
        peer.peer_set(case, 1, 1, 1)  # ours -> NumPy
        check(a[1, 1] == 1, name + ": our write seen by NumPy")
        make_writable(a)
        a[0, 1] = 0  # NumPy -> ours
        check(peer.peer_get(case, 0, 1) == 0, name + ": NumPy's write seen by us")
        peer.peer_drop(case)
    check(peer.peer_deleter_calls() == calls, name + ": deleter not called while NumPy holds it")
    del a
    gc.collect()
    check(peer.peer_deleter_calls() == calls + 1, name + ": deleter called once when NumPy let go")

# ---- NumPy to ours: C order, Fortran order, a strided slice
base = np.arange(48, dtype=np.int32).reshape(6, 8)
arrays = [np.arange(6, dtype=np.float64).reshape(2, 3),
          np.asfortranarray(np.arange(12).reshape(3, 4) * (1 - 2j)),
          base[1::2, ::3]]
for n, a in enumerate(arrays):
    name = "import %d" % n
    refs = sys.getrefcount(a)
    calls = peer.peer_deleter_calls()
    capsule = a.__dlpack__()
    slot = peer.peer_import(api.PyCapsule_GetPointer(capsule, DLTENSOR))
    check(slot >= 0, name + ": accepted")
    api.PyCapsule_SetName(capsule, USED)  # ours now: the capsule must not delete it
    del capsule
    check([peer.peer_dim(slot, k) for k in range(2)] == list(a.shape), name + ": shape")
    idx = [(i, j) for i in range(a.shape[0]) for j in range(a.shape[1])]
    check(all(peer.peer_address(slot, i, j) == address(a, i, j) for i, j in idx), name + ": same addresses")
    check(all(peer.peer_get(slot, i, j) == a[i, j].real for i, j in idx), name + ": values")
    peer.peer_set(slot, 1, 1, -5)
    check(a[1, 1] == -5, name + ": our write seen by NumPy")
    a[0, 0] = 7
    check(peer.peer_get(slot, 0, 0) == 7, name + ": NumPy's write seen by us")
    check(peer.peer_deleter_calls() == calls, name + ": deleter not called while we hold it")
    peer.peer_drop(slot)
    check(peer.peer_deleter_calls() == calls + 1, name + ": deleter called once when we let go")
    check(sys.getrefcount(a) == refs, name + ": NumPy's array released")

# A refused capsule stays NumPy's: its own destructor frees it.
capsule = np.arange(4, dtype=np.float16).__dlpack__()
check(peer.peer_import(api.PyCapsule_GetPointer(capsule, DLTENSOR)) == -1, "float16 refused")
del capsule

print("dlpack numpy peer: %d checks, %d failures" % (checks, len(failures)))
sys.exit(1 if failures else 0)
