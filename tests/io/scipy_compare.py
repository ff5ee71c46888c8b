# MAT-files against SciPy: (1) files that we write, read by SciPy; (2) files
# that SciPy writes (compressed and not), read by us; (3) SciPy's own test
# corpus: every file that SciPy loads we load with equal values, every file
# it refuses we refuse with a message (never a crash or a hang).  Values are
# compared through the JSON of mat_dump (tests/io/mat_dump.h).
#   scipy_compare.py MAT_DUMP WORKDIR      prints the per-file table, writes
#                                          it to WORKDIR/corpus-table.txt
import glob
import json
import math
import os
import subprocess
import sys

import numpy as np
import scipy.io
import scipy.sparse

dump_tool, work = sys.argv[1], sys.argv[2]
os.makedirs(work, exist_ok=True)
CORPUS = os.path.join(os.path.dirname(scipy.io.__file__), "matlab", "tests", "data")

KINDS = {"float64": "double", "float32": "single", "complex128": "complex double",
         "complex64": "complex single", "bool": "logical"}


def lines_of(a):
    """The lines of a char array (rows of every page) as texts."""
    if a.size == 0:
        return []
    if a.ndim < 2:
        return ["".join(a.reshape(-1))]
    moved = np.moveaxis(a, 1, -1)
    flat = moved.reshape((-1, a.shape[1]), order="F")
    return ["".join(r) for r in flat]


def number(x):
    if isinstance(x, (complex, np.complexfloating)):
        return [number(x.real), number(x.imag)]
    if isinstance(x, (float, np.floating)):
        return "nan" if math.isnan(x) else "inf" if x == math.inf else "-inf" if x == -math.inf else float(x)
    return int(x)


def canon(x):
    """SciPy's reading as the JSON form of mat_dump."""
    if scipy.sparse.issparse(x):
        full = x.toarray()
        kind = "sparse " + KINDS.get(full.dtype.name, full.dtype.name)
        v = [[r, c, number(full[r, c])] for c in range(full.shape[1]) for r in range(full.shape[0])
             if full[r, c] != 0]
        return {"k": kind, "d": list(full.shape), "v": v}
    if type(x).__name__ in ("MatlabFunction", "MatlabOpaque"):
        return {"k": type(x).__name__, "d": [], "v": []}
    if not isinstance(x, np.ndarray):
        if isinstance(x, str):
            return {"k": "char", "d": [1, len(x)], "v": [x] if x else []}
        return {"k": type(x).__name__, "d": [], "v": []}
    if x.dtype == object and x.ndim == 0:
        return {"k": type(x.item()).__name__, "d": [], "v": []}
    dims = list(x.shape)
    if x.dtype.names is not None:
        names = list(x.dtype.names)
        recs = x.flatten(order="F")
        return {"k": "struct", "f": names, "d": dims,
                "v": [[canon(r[n]) for n in names] for r in recs] if names else []}
    if x.dtype == object:
        return {"k": "cell", "d": dims, "v": [canon(e) for e in x.flatten(order="F")]}
    if x.dtype.kind in "US":
        return {"k": "char", "d": dims, "v": lines_of(x.astype("U") if x.dtype.kind == "S" else x)}
    return {"k": KINDS.get(x.dtype.name, x.dtype.name), "d": dims,
            "v": [number(e) for e in x.flatten(order="F")]}


def same_number(a, b):
    if isinstance(a, list) or isinstance(b, list):
        a = a if isinstance(a, list) else [a, 0.0]
        b = b if isinstance(b, list) else [b, 0.0]
        return all(same_number(p, q) for p, q in zip(a, b))
    return a == b or (isinstance(a, (int, float)) and isinstance(b, (int, float)) and float(a) == float(b))


def differ(ours, theirs, where="value"):
    """A description of the first difference, or None."""
    ko, kt = ours["k"], theirs["k"]
    # SciPy gives numbers in the type they are stored as, which may be
    # narrower than their class: numeric kinds compare by value.
    numeric = {"double", "single", "logical"} | {f"{s}int{b}" for s in ("", "u") for b in (8, 16, 32, 64)}
    if ko != kt and not (ko in numeric and kt in numeric) and \
            not (ko.startswith("sparse") and kt.startswith("sparse") and ("complex" in ko) == ("complex" in kt)):
        return f"{where}: kind {ko} vs {kt}"
    do, dt = ours["d"], theirs["d"]
    if ko == "char":
        lo = [s.rstrip(" ") for s in ours["v"]]
        lt = [s.rstrip(" ") for s in theirs["v"]]
        ascii_only = all(ord(c) < 128 for s in theirs["v"] for c in s)
        if do[:1] + do[2:] != dt[:1] + dt[2:] or (ascii_only and do != dt):
            return f"{where}: dims {do} vs {dt}"
        return None if lo == lt else f"{where}: text {lo} vs {lt}"
    if do != dt:
        return f"{where}: dims {do} vs {dt}"
    if ko == "struct" and ours["f"] != theirs["f"]:
        return f"{where}: fields {ours['f']} vs {theirs['f']}"
    vo, vt = ours["v"], theirs["v"]
    if len(vo) != len(vt):
        return f"{where}: {len(vo)} vs {len(vt)} elements"
    for i, (a, b) in enumerate(zip(vo, vt)):
        if ko == "cell":
            d = differ(a, b, f"{where}{{{i}}}")
        elif ko == "struct":
            d = next((differ(p, q, f"{where}({i}).{f}") for p, q, f in zip(a, b, ours["f"])
                      if differ(p, q)), None)
        elif ko.startswith("sparse"):
            d = None if a[:2] == b[:2] and same_number(a[2], b[2]) else f"{where}: entry {a} vs {b}"
        else:
            d = None if same_number(a, b) else f"{where}[{i}]: {a} vs {b}"
        if d:
            return d
    return None


def ours(path):
    r = subprocess.run([dump_tool, "load", path], capture_output=True, timeout=60)
    if r.returncode != 0:
        return None, f"crash (status {r.returncode})"
    out = r.stdout.decode("utf-8", "replace").strip()
    if out.startswith("ERROR: "):
        return None, out[7:]
    return json.loads(out), None


def theirs(path):
    try:
        d = scipy.io.loadmat(path, chars_as_strings=False)
    except Exception as e:  # noqa: BLE001 - every refusal counts as one
        return None, f"{type(e).__name__}: {e}"[:80]
    return {k: canon(v) for k, v in d.items() if not k.startswith("__")}, None


HELD = {"double", "single", "complex double", "complex single", "logical", "char", "cell", "struct",
        "sparse double", "sparse complex double", "sparse logical"} | \
    {f"{s}int{b}" for s in ("", "u") for b in (8, 16, 32, 64)}
HAVE_73 = True  # the version 7.3 file of the corpus must load


def not_held(c):
    if c["k"] not in HELD:
        return True
    if c["k"] == "cell":
        return any(not_held(e) for e in c["v"])
    if c["k"] == "struct":
        return any(not_held(e) for r in c["v"] for e in r)
    return False


# SciPy reads a structure whose field names are all empty as a cell holding
# None; we load a structure without fields.
KNOWN = {"test_empty_struct.mat": "struct without fields (SciPy: a cell holding None)"}


def compare(path):
    """(scipy's result, ours, ok)."""
    t, terr = theirs(path)
    o, oerr = ours(path)
    if t is None:
        if "hdf5" in os.path.basename(path):  # version 7.3, which SciPy cannot read
            if HAVE_73:
                return "refused", "loaded" if o is not None else "refused: " + oerr, o is not None
            return "refused", "refused (version 7.3 not built here)", True
        return "refused", ("refused: " + oerr) if o is None else "loaded", o is None and not oerr.startswith("crash")
    if o is None:
        foreign = [n for n in t if not_held(t[n])]
        if foreign and not oerr.startswith("crash"):
            return "loaded", "refused (" + ", ".join(foreign) + ": a kind not held here)", True
        if t == {}:  # nothing SciPy could give (for example only a version 4 file's absent data)
            return "loaded (empty)", "refused: " + oerr, False
        return "loaded", "refused: " + oerr, False
    if sorted(o) != sorted(t):
        return "loaded", f"variables {sorted(o)} vs {sorted(t)}", False
    for n in t:
        d = differ(o[n], t[n], n)
        if d and os.path.basename(path) in KNOWN:
            return "loaded", "loaded: " + KNOWN[os.path.basename(path)], True
        if d:
            return "loaded", "differs: " + d, False
    return "loaded", "equal", True


failures = []

# (1) Ours, read by SciPy.
for ver in ("6", "7"):
    path = os.path.join(work, f"ours_v{ver}.mat")
    subprocess.run([dump_tool, "save", path, ver], check=True)
    s, o, ok = compare(path)
    print(f"ours v{ver}: scipy {s}, {o}")
    if not ok:
        failures.append(path)

# (2) SciPy's, read by us.
rec = np.zeros((1, 2), dtype=[("b", object), ("a", object)])
rec[0, 0] = (np.array([[1.0]]), "x")
rec[0, 1] = (np.zeros((0, 0)), "yz")
cells = np.empty((1, 3), dtype=object)
cells[0, 0], cells[0, 1], cells[0, 2] = np.array([[1, 2]], dtype=np.int16), "text", np.array([[True]])
sample = {
    "d": np.array([[1.5, -0.0], [math.inf, math.nan]]), "f": np.arange(6, dtype=np.float32).reshape(2, 3),
    "i8": np.array([[-128, 127]], dtype=np.int8), "u16": np.array([[0, 65535]], dtype=np.uint16),
    "i64": np.array([[-(2**63), 2**63 - 1]], dtype=np.int64), "u64": np.array([[2**64 - 1]], dtype=np.uint64),
    "c": np.array([[1 + 2j, -3.5j]]), "cf": np.array([[1 - 1j]], dtype=np.complex64),
    "b": np.array([[True, False]]), "s": "hello", "u": "h\u00e9llo \u2192", "rows": np.array(["ab", "cd"]),
    "e": np.zeros((0, 3)), "nd": np.arange(24.0).reshape(2, 3, 4), "cell": cells,
    "st": {"zeta": 1.0, "alpha": "x", "inner": {"deep": np.array([[1, 2, 3]], dtype=np.uint8)}}, "sa": rec,
    "sp": scipy.sparse.csc_matrix(np.array([[0, 1.5], [2, 0], [0, -1]])),
    "spc": scipy.sparse.csc_matrix(np.array([[0, 1j], [2, 0]])),
}
for compressed in (False, True):
    path = os.path.join(work, f"scipy_{'z' if compressed else 'u'}.mat")
    scipy.io.savemat(path, sample, do_compression=compressed)
    s, o, ok = compare(path)
    print(f"scipy {'compressed' if compressed else 'uncompressed'}: {o}")
    if not ok:
        failures.append(path)

# (3) SciPy's corpus.
table = [f"{'file':44} {'scipy':14} ours"]
for path in sorted(glob.glob(os.path.join(CORPUS, "*.mat"))):
    s, o, ok = compare(path)
    table.append(f"{os.path.basename(path):44} {s:14} {o}{'' if ok else '   <-- MISMATCH'}")
    if not ok:
        failures.append(os.path.basename(path))
text = "\n".join(table) + "\n"
print(text)
with open(os.path.join(work, "corpus-table.txt"), "w") as f:
    f.write(text)
print(f"{len(failures)} mismatches: {failures}")
sys.exit(1 if failures else 0)
