"""A running cimgate-cimomd with a repository made for one test.

Environment: CIMOMD, the program.
"""

import os
import signal
import subprocess
import tempfile
from pathlib import Path
from xml.sax.saxutils import quoteattr

CIMOMD = os.environ["CIMOMD"]
NAMESPACE = "root/xcim"
# How long anything may take that a test waits for.
PATIENCE_S = 30


# ---- Declarations

def escaped(text):
    """Text content that survives as it is."""
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace("\r", "&#13;")


def value_element(value):
    """A value as VALUE, VALUE.ARRAY or, for a dict of a path, VALUE.REFERENCE; nothing for None."""
    if value is None:
        return ""
    if isinstance(value, list):
        inner = "".join("<VALUE.NULL/>" if one is None else value_element(one) for one in value)
        return f"<VALUE.ARRAY>{inner}</VALUE.ARRAY>"
    if isinstance(value, InstancePath):
        return f"<VALUE.REFERENCE>{value.element()}</VALUE.REFERENCE>"
    if isinstance(value, bool):
        value = "TRUE" if value else "FALSE"
    return f"<VALUE>{escaped(str(value))}</VALUE>"


class InstancePath:
    """An instance's path; its keys are written as texts, as many clients do."""

    def __init__(self, class_name, **keys):
        self.class_name = class_name
        self.keys = keys

    def element(self):
        bindings = []
        for name, value in self.keys.items():
            inner = (f"<VALUE.REFERENCE>{value.element()}</VALUE.REFERENCE>" if isinstance(value, InstancePath)
                     else f'<KEYVALUE VALUETYPE="string">{escaped(str(value))}</KEYVALUE>')
            bindings.append(f"<KEYBINDING NAME={quoteattr(name)}>{inner}</KEYBINDING>")
        return f"<INSTANCENAME CLASSNAME={quoteattr(self.class_name)}>{''.join(bindings)}</INSTANCENAME>"


def property_element(name, kind, value, qualifiers=""):
    """kind: "uint32", "string[]", "ref:XCIM_Fan"."""
    start = f"NAME={quoteattr(name)}"
    if kind.startswith("ref:"):
        target = quoteattr(kind.removeprefix("ref:"))
        return (f"<PROPERTY.REFERENCE {start} REFERENCECLASS={target}>{qualifiers}{value_element(value)}"
                "</PROPERTY.REFERENCE>")
    if kind.endswith("[]"):
        return (f"<PROPERTY.ARRAY {start} TYPE=\"{kind[:-2]}\">{qualifiers}{value_element(value)}"
                "</PROPERTY.ARRAY>")
    return f'<PROPERTY {start} TYPE="{kind}">{qualifiers}{value_element(value)}</PROPERTY>'


def flag(name):
    return f'<QUALIFIER NAME="{name}" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>'


def class_element(name, properties, keys=(), superclass=None, qualifiers=(), methods=""):
    """properties: name -> kind, or (kind, default value)."""
    parent = f" SUPERCLASS={quoteattr(superclass)}" if superclass else ""
    inner = "".join(flag(qualifier) for qualifier in qualifiers)
    for prop, kind in properties.items():
        kind, default = kind if isinstance(kind, tuple) else (kind, None)
        inner += property_element(prop, kind, default, flag("Key") if prop in keys else "")
    return f"<CLASS NAME={quoteattr(name)}{parent}>{inner}{methods}</CLASS>"


def method_element(name, parameters, kind="uint32"):
    """parameters: name -> kind, as for properties."""
    inner = ""
    for parameter, parameter_kind in parameters.items():
        start = f"NAME={quoteattr(parameter)}"
        if parameter_kind.startswith("ref:"):
            inner += f"<PARAMETER.REFERENCE {start} REFERENCECLASS={quoteattr(parameter_kind.removeprefix('ref:'))}/>"
        elif parameter_kind.endswith("[]"):
            inner += f'<PARAMETER.ARRAY {start} TYPE="{parameter_kind[:-2]}"/>'
        else:
            inner += f'<PARAMETER {start} TYPE="{parameter_kind}"/>'
    return f'<METHOD NAME={quoteattr(name)} TYPE="{kind}">{inner}</METHOD>'


def instance_element(class_name, properties):
    """properties: name -> (kind, value)."""
    inner = "".join(property_element(name, kind, value) for name, (kind, value) in properties.items())
    return f"<INSTANCE CLASSNAME={quoteattr(class_name)}>{inner}</INSTANCE>"


def declaration(objects, namespace=NAMESPACE):
    """A declaration file with classes and instances of one namespace."""
    names = "".join(f'<NAMESPACE NAME="{name}"/>' for name in namespace.split("/"))
    inner = "".join(f"<VALUE.OBJECT>{one}</VALUE.OBJECT>\n" for one in objects)
    return ('<?xml version="1.0" encoding="utf-8"?>\n<CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>'
            f"<LOCALNAMESPACEPATH>{names}</LOCALNAMESPACEPATH>\n{inner}</DECLGROUP></DECLARATION></CIM>\n")


# ---- The program

class ObjectManager:
    """with ObjectManager(files) as manager: asks it at manager.url, "http://127.0.0.1:PORT".

    files: file name -> declaration text. port: 0 for a free one. address: own_address() for one that will be started
    anew on its port.
    """

    def __init__(self, files, port=0, address="127.0.0.1"):
        self._directory = tempfile.TemporaryDirectory()
        self.repository = Path(self._directory.name, "repository")
        self.repository.mkdir()
        for name, text in files.items():
            Path(self.repository, name).write_text(text, encoding="utf-8")
        self._log_path = Path(self._directory.name, "log")
        self.address = address
        self.port = port
        self.process = None
        self.url = None

    def launch(self):
        with self._log_path.open("wb") as log:
            # pylint: disable=consider-using-with
            self.process = subprocess.Popen(
                [CIMOMD, "--listen", f"{self.address}:{self.port}", "--repository", str(self.repository)],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, text=True)

    def start(self):
        """Starts it and waits until it listens."""
        self.launch()
        line = self.process.stdout.readline()
        if not line.startswith("cimgate-cimomd: listening on http://"):
            status = self.process.wait(timeout=PATIENCE_S)
            raise AssertionError(f"it ended with {status} and said: {line}{self.log()}")
        self.url = line.removeprefix("cimgate-cimomd: listening on ").rstrip("\n")
        self.port = int(self.url.rpartition(":")[2])
        return self

    def fail(self):
        """Starts it and waits for it to give up; returns exit status, standard output and standard error."""
        self.launch()
        out, _ = self.process.communicate(timeout=PATIENCE_S)
        return self.process.returncode, out, self.log()

    def stop(self, signal_number=signal.SIGTERM):
        """Asks it to stop and checks that it does, with status 0 and without a word."""
        self.process.send_signal(signal_number)
        rest, _ = self.process.communicate(timeout=PATIENCE_S)
        if self.process.returncode != 0 or rest or self.log():
            raise AssertionError(f"it ended with {self.process.returncode}, said {rest!r} and logged\n{self.log()}")

    def kill(self):
        """Ends it as a crash would; start() brings it back on the same port."""
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def log(self):
        return self._log_path.read_text(encoding="utf-8", errors="replace")

    def discard(self):
        """Ends what is left of it, however it stands."""
        if self.process is not None:
            if self.process.poll() is None:
                self.process.kill()
                self.process.wait()
            self.process.stdout.close()
        self._directory.cleanup()

    def __enter__(self):
        return self.start()

    def __exit__(self, error_type, error, trace):
        try:
            if error_type is None and self.process.poll() is None:
                self.stop()
        finally:
            self.discard()
