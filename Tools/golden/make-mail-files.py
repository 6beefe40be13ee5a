#!/usr/bin/env python3
"""Writes the mail files and records that the tests read and compare with.

They are made here from the documented layouts alone, without the library, so that a reader and a
writer that drift together are noticed. Run it again only when a format gains a version:

    Tools/golden/make-mail-files.py Tests/Mail/Golden
"""
import base64
import json
import pathlib
import struct
import sys

FULL = dict(
    id="{7D444840-9DC0-11D1-B245-5FFDCE74FAD2}", read=True, copy=False, out=True, modify=True,
    sender="zoë", sender_full="Zoë Łukasz", recipients=["amir", "名前"],
    recipients_full="Amir; 名前", sending=1700000000, repository=-1, importance=3, type=3,
    body="Pillar 7 is yours.\r\n\U0001F3D7 \u0001", actions=["", "päck"], historical=True,
    parent="{3F2504E0-4F89-11D3-9A0C-0305E82C3301}")
EMPTY = dict(
    id="", read=False, copy=False, out=False, modify=False, sender="", sender_full="", recipients=[],
    recipients_full="", sending=0, repository=0, importance=1, type=0, body="", actions=[],
    historical=False, parent="")


def flag(value):
    return struct.pack("<B", value)


def utf16(text):
    data = text.encode("utf-16-le", "surrogatepass")
    return struct.pack("<I", len(data)) + data


def utf8(text):
    data = text.encode("utf-8")
    return struct.pack("<I", len(data)) + data


def frame(name, main=1, sub=0):
    return utf16(name) + struct.pack("<HH", main, sub)


def disk_actions(actions):
    return b"".join(utf16("Dummy") + frame("DummyAction") + utf16(data) for data in actions)


def disk(m):
    return (frame("Mail") + utf16(m["id"]) + flag(m["read"]) + flag(m["copy"]) + flag(m["out"]) +
            flag(m["modify"]) + utf16(m["sender"]) + utf16(m["sender_full"]) +
            struct.pack("<I", len(m["recipients"])) + b"".join(map(utf16, m["recipients"])) +
            utf16(m["recipients_full"]) +
            struct.pack("<iiii", m["sending"], m["repository"], m["importance"], m["type"]) +
            utf16(m["body"]) + struct.pack("<I", len(m["actions"])) + disk_actions(m["actions"]) +
            flag(m["historical"]) + utf16(m["parent"]))


def compact(m):
    body = flag(1) + utf8(m["body"]) if m["body"] else flag(0)
    actions = flag(0)
    if m["actions"]:
        actions = flag(1) + struct.pack("<I", len(m["actions"]))
        actions += b"".join(utf8("Dummy") + utf8(data) for data in m["actions"])
    return (utf8(m["id"]) + flag(m["read"]) + flag(m["copy"]) + flag(m["out"]) + flag(m["modify"]) +
            utf8(m["sender"]) + utf8(m["sender_full"]) +
            utf8("".join(name + "," for name in m["recipients"])) + utf8(m["recipients_full"]) +
            struct.pack("<iiii", m["sending"], m["repository"], m["importance"], m["type"]) +
            body + actions + flag(m["historical"]) +
            (flag(1) + utf8(m["parent"]) if m["parent"] else b""))


def message(m):
    types = ["NULL", "NORMAL", "REQUEST", "REQUESTACCEPTED", "REQUESTDENIED", "REQUESTREVOKED"]
    header = {
        "Sender": m["sender"], "SenderFullName": m["sender_full"],
        "Recipient": "".join(name + "," for name in m["recipients"]),
        "RecipientsFullName": m["recipients_full"], "SendingTime": str(m["sending"]),
        "ParentMailGuid": m["parent"], "Version": "1.0",
        "Importance": ["LOW", "MEDIUM", "HIGH"][m["importance"] - 1], "Type": types[m["type"]],
        "TextBody": m["body"] or "EMPTY", "ActionList": str(len(m["actions"]) or "EMPTY")}
    # Control characters and carriage returns travel in their own escaped form.
    header = {k: v.replace("\r", "\\u000D").replace("\x01", "\\u0001") for k, v in header.items()}
    record = {"id": m["id"], "read": m["read"], "copy": m["copy"], "historical": m["historical"],
              "timeStamp": m["repository"], "header": header,
              "body": base64.b64encode(disk_actions(m["actions"])).decode()}
    return json.dumps(record, ensure_ascii=False, sort_keys=True, separators=(",", ":")).encode()


def mail_file(mails):
    return struct.pack("<I", len(mails)) + b"".join(map(disk, mails))


def main():
    folder = pathlib.Path(sys.argv[1])
    for name, mail in (("full", FULL), ("empty", EMPTY)):
        for kind, encode in (("disk", disk), ("compact", compact), ("message.json", message)):
            (folder / f"{name}.{kind}").write_bytes(encode(mail))
    (folder / "Mails.dat").write_bytes(mail_file([FULL, EMPTY, FULL]))
    (folder / "Outbox.dat").write_bytes(mail_file([]))


main()
