#!/usr/bin/python3
"""Writes the built-in MIB table from the MIB modules of Debian's python3-pysnmp4 and
python3-pysnmp4-mibs packages (compiled pysnmp modules), loaded module by module.

Usage: gen_mib_table.py OUT_DIR
Writes OUT_DIR/builtin.tab (one node a line, tab-separated), OUT_DIR/builtin.idx (where each
line, its module and name are and its OID as numbers, so that the programs read no text at
start) and OUT_DIR/builtin.desc (the descriptions, read by offset only when a node's description
is asked for). A module that does
not load is left out and named on standard error. Exit status 3 when the packages are missing.
"""
import os
import struct
import sys

try:
    from pysnmp.smi import builder
    import pysnmp.smi.mibs
    import pysnmp_mibs
except ImportError as error:
    sys.stderr.write("gen_mib_table: %s\n" % error)
    sys.exit(3)

# The first class of a syntax's ancestry that is a wire type names the base syntax.
BASE_SYNTAX = {
    "Integer32": "Integer32", "Integer": "INTEGER", "OctetString": "OCTET STRING",
    "ObjectIdentifier": "OBJECT IDENTIFIER", "IpAddress": "IpAddress",
    "Counter32": "Counter32", "Gauge32": "Gauge32", "Unsigned32": "Unsigned32",
    "TimeTicks": "TimeTicks", "Opaque": "Opaque", "Counter64": "Counter64", "Bits": "BITS",
}


def tolerate_named_values():
    """Debian's pyasn1 (0.4.8) keeps no namedValues among a type's initializers, so every
    BITS syntax that pysnmp subtypes with named bits fails with KeyError 'namedValues', and
    with it a third of the modules (Q-BRIDGE-MIB among them). Seed a missing initializer from
    the type itself."""
    from pyasn1.type import base
    original = base.SimpleAsn1Type.subtype

    def subtype(self, value=base.noValue, **kwargs):
        missing = {k: v for k, v in kwargs.items() if k not in self.readOnly}
        if not missing:
            return original(self, value, **kwargs)
        clone = original(self, value, **{k: v for k, v in kwargs.items() if k in self.readOnly})
        for key, option in missing.items():
            current = getattr(clone, key, None)
            setattr(clone, key, current + option if current is not None else option)
        return clone
    base.SimpleAsn1Type.subtype = subtype


KIND = [  # class name in the ancestry -> kind, first match wins
    ("MibTableColumn", "column"), ("MibTableRow", "row"), ("MibTable", "table"),
    ("MibScalar", "scalar"), ("NotificationType", "notification"),
    ("ModuleCompliance", "group"), ("ObjectGroup", "group"), ("NotificationGroup", "group"),
    ("AgentCapabilities", "group"), ("ModuleIdentity", "node"), ("ObjectIdentity", "node"),
    ("MibIdentifier", "node"),
]
ACCESS = {"readonly": "read-only", "readwrite": "read-write", "readcreate": "read-create",
          "noaccess": "not-accessible", "notifyonly": "accessible-for-notify"}


def clean(text):
    return " ".join(str(text).split()) if text else ""


def field(text):
    # Tabs and line breaks would split the row; none of these fields needs them.
    return str(text).replace("\t", " ").replace("\n", " ").replace("\r", " ")


def kind_of(symbol):
    names = [c.__name__ for c in type(symbol).__mro__]
    for cls, kind in KIND:
        if cls in names:
            return kind
    return None


def syntax_of(symbol):
    get = getattr(symbol, "getSyntax", None)
    syntax = get() if get else None
    if syntax is None:
        return "", "", "", ""
    base, tc = "", ""
    for cls in type(syntax).__mro__:
        if cls.__name__ in BASE_SYNTAX and cls.__module__.startswith(("pysnmp.proto", "pyasn1")):
            base = BASE_SYNTAX[cls.__name__]
            break
    if "TextualConvention" in [c.__name__ for c in type(syntax).__mro__]:
        tc = type(syntax).__name__
    named = getattr(syntax, "namedValues", None)
    enums = ",".join("%s=%d" % (n, v) for n, v in sorted(named.items(), key=lambda i: i[1])) \
        if named else ""
    if enums and base == "Integer32":
        base = "INTEGER"
    hint = getattr(syntax, "displayHint", "") or ""
    return base, tc, hint, enums


def main():
    out_dir = sys.argv[1]
    tolerate_named_values()
    folders = [os.path.dirname(pysnmp.smi.mibs.__file__), os.path.dirname(pysnmp_mibs.__file__)]
    modules = sorted({f[:-3] for d in folders for f in os.listdir(d)
                      if f.endswith(".py") and f != "__init__.py"})
    mib_builder = builder.MibBuilder()
    mib_builder.loadTexts = True
    mib_builder.addMibSources(*[builder.DirMibSource(d) for d in folders])
    left_out = []
    for module in modules:
        try:
            mib_builder.loadModules(module)
        except Exception as error:  # pysnmp raises several kinds; each leaves the module out
            cause = clean(error).rpartition("caused by")[2] or clean(error)
            left_out.append("%s (%s)" % (module, cause.strip()[:100]))
    rows = []
    for module in sorted(mib_builder.mibSymbols):
        for name, symbol in mib_builder.mibSymbols[module].items():
            kind = kind_of(symbol)
            if kind is None or not hasattr(symbol, "getName"):
                continue
            oid = symbol.getName()
            if not isinstance(oid, tuple) or not oid:
                continue
            rows.append((oid, module, name, kind, symbol))
    # An instance some module names (DISMAN-EXPRESSION-MIB's sysUpTimeInstance) would hide the
    # object's own name, sysUpTime.0: objects are named, instances numbered.
    objects = {r[0] for r in rows if r[3] in ("scalar", "column")}
    rows = [r for r in rows if r[0][:-1] not in objects]
    rows.sort(key=lambda r: (r[0], r[1]))
    # pysnmp keeps AUGMENTS on the row augmented: ifEntry knows ifXEntry, not the other way.
    augments = {}
    for _, module, name, kind, symbol in rows:
        if kind == "row":
            for key in getattr(symbol, "augmentingRows", {}):
                augments[key] = name
    os.makedirs(out_dir, exist_ok=True)
    tab_path = os.path.join(out_dir, "builtin.tab")
    idx_path = os.path.join(out_dir, "builtin.idx")
    desc_path = os.path.join(out_dir, "builtin.desc")
    index_rows, arcs = [], []
    with open(tab_path + ".tmp", "wb") as tab, open(desc_path + ".tmp", "wb") as desc:
        offset = 0
        tab_size = 0
        for oid, module, name, kind, symbol in rows:
            base, tc, hint, enums = syntax_of(symbol)
            access = ACCESS.get(getattr(symbol, "getMaxAccess", lambda: "")() or "", "")
            status = getattr(symbol, "getStatus", lambda: "")() or ""
            units = getattr(symbol, "getUnits", lambda: "")() or ""
            index = ""
            if kind == "row":
                index = ",".join(("IMPLIED " if implied else "") + str(obj)
                                 for implied, _, obj in symbol.getIndexNames())
            text = (getattr(symbol, "getDescription", lambda: "")() or "").encode("utf-8")
            desc.write(text)
            fields = [field(f).encode("utf-8") for f in (
                ".".join(str(n) for n in oid), module, name, kind, base, tc, hint, enums,
                access, status, units, index, augments.get((module, name), ""), offset,
                len(text))]
            line = b"\t".join(fields)
            tab.write(line + b"\n")
            # Line offset and length, first arc and arc count, OID text, module and name lengths.
            index_rows.append(struct.pack("<IIIHHHH", tab_size, len(line), len(arcs), len(oid),
                                          len(fields[0]), len(fields[1]), len(fields[2])))
            arcs.extend(oid)
            tab_size += len(line) + 1
            offset += len(text)
    with open(idx_path + ".tmp", "wb") as idx:
        idx.write(struct.pack("<8sIII", b"SNDRIDX1", tab_size, len(index_rows), len(arcs)))
        idx.write(b"".join(index_rows))
        idx.write(struct.pack("<%dI" % len(arcs), *arcs))
    os.replace(tab_path + ".tmp", tab_path)
    os.replace(idx_path + ".tmp", idx_path)
    os.replace(desc_path + ".tmp", desc_path)
    loaded = len(mib_builder.mibSymbols)
    sys.stderr.write("gen_mib_table: %d nodes from %d modules\n" % (len(rows), loaded))
    if left_out:
        sys.stderr.write("gen_mib_table: left out, they do not load: %s\n" % "; ".join(left_out))


if __name__ == "__main__":
    main()
