"""Reads messages with Python's own parser and prints what it found as JSON, one object per file.

Names on the command line are message files. Nothing of the library under test is involved.
"""
import email
import email.policy
import hashlib
import json
import re
import sys
from email.header import decode_header
from email.utils import collapse_rfc2231_value, getaddresses

# The structured header parser is thorough and slow; beyond this size only the plain one is asked.
THOROUGH_LIMIT = 200_000


def unfolded(value):
    return re.sub(r"\r?\n", "", value)


def decoded(value):
    pieces = []
    for text, charset in decode_header(value):
        if isinstance(text, bytes):
            text = text.decode(charset or "ascii", "strict" if charset else "surrogateescape")
        pieces.append(text)
    return "".join(pieces)


def raw_header(message, name):
    """The value as it stands in the file, bytes above ASCII read as UTF-8, or None."""
    for field, value in message.raw_items():
        if field.lower() == name.lower():
            return unfolded(value.encode("ascii", "surrogateescape").decode("utf-8"))
    return None


def addresses(message, name):
    value = raw_header(message, name)
    if value is None:
        return []
    return [{"name": decoded(display), "address": address} for display, address in getaddresses([value])]


def file_name(part):
    """The name as it was written; the parser's own get_filename() cuts blanks off."""
    name = part.get_param("filename", "", "content-disposition")
    return name if isinstance(name, str) else collapse_rfc2231_value(name)


def describe_part(part):
    payload = part.get_payload(decode=True) or b""
    disposition = part.get_content_disposition()
    result = {
        "type": part.get_content_type(),
        "disposition": disposition or "",
        "filename": file_name(part),
        "encoding": (part.get("Content-Transfer-Encoding") or "").lower(),
        "charset": part.get_content_charset() or "",
        "size": len(payload),
        "sha256": hashlib.sha256(payload).hexdigest(),
    }
    if disposition != "attachment" and part.get_content_maintype() == "text":
        result["text"] = payload.decode(part.get_content_charset() or "ascii")
    return result


def all_defects(message):
    found = [type(defect).__name__ for part in message.walk() for defect in part.defects]
    for part in message.walk():
        for _, value in part.items():
            found += [type(defect).__name__ for defect in getattr(value, "defects", ())]
    return found


def describe(path):
    with open(path, "rb") as file:
        raw = file.read()
    message = email.message_from_bytes(raw)
    thorough = message
    if len(raw) < THOROUGH_LIMIT:
        thorough = email.message_from_bytes(raw, policy=email.policy.default)
    lines = raw.split(b"\n")
    subject = raw_header(message, "Subject")
    return {
        "path": path,
        "size": len(raw),
        "defects": all_defects(thorough),
        "fields": [name for name, _ in message.raw_items()],
        "headers": {name: raw_header(message, name) for name, _ in message.raw_items()},
        "subject": decoded(subject.strip(" ")) if subject is not None else None,
        "from": addresses(message, "From"),
        "to": addresses(message, "To"),
        "cc": addresses(message, "Cc"),
        "bcc": addresses(message, "Bcc"),
        "parts": [describe_part(part) for part in message.walk() if not part.is_multipart()],
        "dosLineEnds": raw.count(b"\n") == raw.count(b"\r\n") == raw.count(b"\r"),
        "unixLineEnds": b"\r" not in raw,
        "longestLine": max(len(line.rstrip(b"\r")) for line in lines),
        "ascii": raw.isascii(),
    }


json.dump([describe(path) for path in sys.argv[1:]], sys.stdout)
