"""Reads property lists with GNUstep's Foundation. Standard input names one file a line. For each it prints a line of
JSON in the form that property_lists.py describes ("absent" if the document is refused), and writes the property list to
FOLDER/N.FORM for each FORM (text, xml, binary). N counts the lines from 0.

usage: gnustep.py [FOLDER FORM...] < NAMES
"""

import ctypes
import os
import sys
from json import dumps
from pathlib import Path

from property_lists import bits

FORMS = {"text": 1, "xml": 100, "binary": 200}
UTF_8 = 4
FAULT_OF_THIS_PROGRAM = 99

Object = ctypes.c_void_p


class Foundation:
    """Objects of Foundation, and the messages sent to them."""

    def __init__(self):
        self.runtime = ctypes.CDLL("libobjc.so.4", mode=ctypes.RTLD_GLOBAL)
        ctypes.CDLL("libgnustep-base.so.1.28")
        for name in ("objc_get_class", "sel_registerName", "objc_msg_lookup"):
            getattr(self.runtime, name).restype = Object
        self.send(self.send(self.named("NSAutoreleasePool"), "alloc"), "init")

    def named(self, class_name):
        return self.runtime.objc_get_class(class_name.encode())

    def send(self, receiver, selector, *arguments, gives=Object):
        """Sends a message. Arguments are ctypes values or bytes."""
        selector = self.runtime.sel_registerName(selector.encode())
        method = self.runtime.objc_msg_lookup(Object(receiver), Object(selector))
        types = [ctypes.c_char_p if isinstance(argument, bytes) else type(argument) for argument in arguments]
        return ctypes.CFUNCTYPE(gives, Object, Object, *types)(method)(receiver, selector, *arguments)

    def is_a(self, value, class_name):
        return self.send(value, "isKindOfClass:", Object(self.named(class_name)), gives=ctypes.c_bool)

    def data(self, content):
        return self.send(self.named("NSData"), "dataWithBytes:length:", content, ctypes.c_ulong(len(content)))

    def content(self, data):
        return ctypes.string_at(self.send(data, "bytes"), self.send(data, "length", gives=ctypes.c_ulong))

    def text(self, string):
        return self.content(self.send(string, "dataUsingEncoding:", ctypes.c_int(UTF_8))).decode()

    def items(self, enumerator):
        while item := self.send(enumerator, "nextObject"):
            yield item

    def read(self, content):
        return self.send(self.named("NSPropertyListSerialization"), "propertyListWithData:options:format:error:",
                         Object(self.data(content)), ctypes.c_ulong(0), Object(None), Object(None))

    def written(self, property_list, form):
        data = self.send(self.named("NSPropertyListSerialization"), "dataWithPropertyList:format:options:error:",
                         Object(property_list), ctypes.c_int(FORMS[form]), ctypes.c_ulong(0), Object(None))
        return self.content(data) if data else None

    def number(self, number):
        if self.is_a(number, "NSBoolNumber"):
            return bool(self.send(number, "boolValue", gives=ctypes.c_bool))
        if ctypes.string_at(self.send(number, "objCType")) in (b"f", b"d"):
            return {"real": bits(self.send(number, "doubleValue", gives=ctypes.c_double))}
        return self.send(number, "longLongValue", gives=ctypes.c_longlong)

    def tagged(self, value):
        if self.is_a(value, "NSString"):
            return self.text(value)
        if self.is_a(value, "NSNumber"):
            return self.number(value)
        if self.is_a(value, "NSData"):
            return {"data": self.content(value).hex()}
        if self.is_a(value, "NSDate"):
            return {"date": bits(self.send(value, "timeIntervalSinceReferenceDate", gives=ctypes.c_double))}
        if self.is_a(value, "NSArray"):
            return [self.tagged(item) for item in self.items(self.send(value, "objectEnumerator"))]
        assert self.is_a(value, "NSDictionary")
        return {"dict": {self.text(key): self.tagged(self.send(value, "objectForKey:", Object(key)))
                         for key in self.items(self.send(value, "keyEnumerator"))}}


def in_child(work):
    """The bytes that `work` returns in a child process; none if it ends early, as any exception makes it do."""
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        status = FAULT_OF_THIS_PROGRAM
        try:
            os.close(reading)
            with open(writing, "wb") as pipe:
                pipe.write(work() or b"")
            status = 0
        finally:
            os._exit(status)
    os.close(writing)
    with open(reading, "rb") as pipe:
        result = pipe.read()
    status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    assert status != FAULT_OF_THIS_PROGRAM
    return result


def main():
    folder, forms = Path(*sys.argv[1:2]), sys.argv[2:]
    foundation = Foundation()
    for line, name in enumerate(sys.stdin):
        content = Path(name.removesuffix("\n")).read_bytes()

        def read():
            property_list = foundation.read(content)
            return dumps(foundation.tagged(property_list)).encode() if property_list else None

        print(in_child(read).decode() or "absent")
        for form in forms:
            written = in_child(lambda: foundation.written(foundation.read(content), form))
            if written:
                (folder / f"{line}.{form}").write_bytes(written)


if __name__ == "__main__":
    main()
