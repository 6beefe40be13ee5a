#!/usr/bin/env python3
"""Writes the user's info files that the tests read and compare with: one of this version, two of the
previous one, and the key that their passwords are coded with.

They are made here from the documented layout, without the library, so that a reader and a writer that
drift together are noticed. Run it again only when the file gains a version:

    Tools/golden/make-info-files.py Tests/ManagementTool/Golden
"""
import base64
import ctypes
import hashlib
import pathlib
import sys

KEY = bytes(range(1, 33))
CONTEXT = b"SYPassw1".ljust(16, b"\0")
sodium = ctypes.CDLL("libsodium.so.23")


def derived(number):
    return hashlib.blake2b(b"", digest_size=32, key=KEY, person=CONTEXT,
                           salt=number.to_bytes(16, "little")).digest()


def coded(password):
    if not password:
        return ""
    clear = password.encode() + b"\x80"
    clear += bytes(-len(clear) % 32)
    nonce = hashlib.blake2b(clear, digest_size=24, key=derived(1)).digest()
    sealed = ctypes.create_string_buffer(16 + len(clear))
    sodium.crypto_secretbox_xchacha20poly1305_easy(
        sealed, clear, ctypes.c_ulonglong(len(clear)), nonce, derived(2))
    return "1" + base64.urlsafe_b64encode(nonce + sealed.raw).decode().rstrip("=")


def element(name, content):
    """A list of lines; the content is a text, or the lines inside."""
    if isinstance(content, str):
        return [f"<{name}>{content}</{name}>"]
    return [f"<{name}>"] + ["  " + line for line in content] + [f"</{name}>"]


def passwords(users):
    lines = element("DataVersion", "1") + element("Size", str(len(users)))
    for user, default, servers in users:
        item = (element("UserName", user) + element("DefaultPassword", coded(default)) +
                element("Size", str(len(servers))))
        for server, password in servers:
            item += element("Item", element("Password", coded(password)) +
                            element("ServerName", server))
        lines += element("Item", item)
    return element("UserPasswordArray", lines)


def servers(hosts):
    lines = element("Size", str(len(hosts)))
    for host, port in hosts:
        lines += element("ServerData", element("Host", host) + element("Port", str(port)))
    return element("WebServers", lines)


def document(lines):
    return "\n".join(['<?xml version="1.0"?>'] + element("SyncraInfo", lines)) + "\n"


USERS = [("anna", "", [("nexar.example", "päss word"), ("10.0.0.7", "x" * 40)]),
         ("idle", "", []),
         ("zoë", "R&amp;D", [("nexar", "\U0001F3D7")])]
FILES = {
    "SyncraInfo_v2.xml": document(
        element("DataVersion", "1") + element("SYMessageSetting", "true") +
        element("LastServerName", "nexar.example") + element("LastUserName", "zoë") +
        passwords(USERS) + servers([])),
    "SyncraInfo-1.xml": document(
        element("DataVersion", "1") + element("LastServerName", "old.example") +
        element("LastPort", "-25536") + element("AutoLogInUserName", "nobody") +
        element("LastUserName", "zoë") + passwords(USERS) +
        servers([("old.example", 40000), ("10.0.0.7", 19001)])),
    "SyncraInfo-2.xml": document(
        element("DataVersion", "2") + element("SYMessageSetting", "true") +
        element("LastServerName", "") + element("LastPort", "0") + element("AutoLogInUserName", "") +
        element("LastUserName", "") + passwords([]) + servers([])),
}

folder = pathlib.Path(sys.argv[1])
(folder / "SYPassword.key").write_bytes(KEY)
for name, text in FILES.items():
    (folder / name).write_text(text, encoding="utf-8", newline="\n")
