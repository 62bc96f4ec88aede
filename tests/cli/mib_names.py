#!/usr/bin/python3
"""The names pysnmp's MibViewController gives, over Debian's pysnmp modules: one line
"OID VALUE" in (a string's VALUE: "x" and its bytes in hex), one line "NAME<TAB>LABEL" out
(LABEL: the value's enumeration label, a string as its DISPLAY-HINT renders it, or empty). Where the programs choose otherwise on purpose, the same choice is made here: mib-2
is SNMPv2-SMI's rather than RFC1213-MIB's, and an instance a module names (sysUpTimeInstance)
goes by its object (sysUpTime.0). Debian's pyasn1 needs BITS with named bits let through."""
import os
import sys

from pysnmp.smi import builder, view
import pysnmp.smi.mibs
import pysnmp_mibs

from pyasn1.type import base

original = base.SimpleAsn1Type.subtype


def subtype(self, value=base.noValue, **kwargs):
    known = {k: v for k, v in kwargs.items() if k in self.readOnly}
    clone = original(self, value, **known)
    for key in set(kwargs) - set(known):
        current = getattr(clone, key, None)
        setattr(clone, key, kwargs[key] if current is None else current + kwargs[key])
    return clone


base.SimpleAsn1Type.subtype = subtype
folders = [os.path.dirname(pysnmp.smi.mibs.__file__), os.path.dirname(pysnmp_mibs.__file__)]
mib_builder = builder.MibBuilder()
mib_builder.addMibSources(*[builder.DirMibSource(d) for d in folders])
for module in sorted({f[:-3] for d in folders for f in os.listdir(d) if f.endswith(".py")}):
    try:
        mib_builder.loadModules(module)
    except Exception:
        pass
viewer = view.MibViewController(mib_builder)
for line in open(sys.argv[1]):
    oid_text, _, value = line.strip().partition(" ")
    oid = tuple(int(n) for n in oid_text.strip(".").split("."))
    node_oid, label, suffix = viewer.getNodeName(oid)
    module, name, _ = viewer.getNodeLocation(node_oid)
    parent = viewer.getNodeName(node_oid[:-1])
    if type(mib_builder.importSymbols(*viewer.getNodeLocation(parent[0])[:2])[0]).__name__ in \
            ("MibScalar", "MibTableColumn") and not parent[2]:
        suffix = node_oid[-1:] + tuple(suffix)
        module, name, _ = viewer.getNodeLocation(parent[0])
    if (module, name) == ("RFC1213-MIB", "mib-2"):
        module = "SNMPv2-SMI"
    enum = ""
    syntax = getattr(mib_builder.importSymbols(module, name)[0], "getSyntax", lambda: None)()
    named = getattr(syntax, "namedValues", None)
    hint = getattr(syntax, "displayHint", "")
    if value.startswith("x") and hint and hint.strip("0123456789at"):  # text hints: as is
        try:
            enum = syntax.clone(bytes.fromhex(value[1:])).prettyPrint()
        except Exception:
            pass
    elif named and value.lstrip("-").isdigit() and int(value) in named:
        enum = named.getName(int(value))
    print("%s::%s%s\t%s" % (module, name, "".join("." + str(n) for n in suffix), enum))
