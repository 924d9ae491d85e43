"""Writes a zip anew: its entries sorted, and without the number of the user who packed it."""
import os
import sys
import zipfile

archive = sys.argv[1]
with zipfile.ZipFile(archive) as packed, zipfile.ZipFile(archive + ".new", "w") as written:
    for entry in sorted(packed.infolist(), key=lambda entry: entry.filename):
        plain = zipfile.ZipInfo(entry.filename, entry.date_time)
        plain.create_system = entry.create_system
        plain.external_attr = entry.external_attr
        compression = zipfile.ZIP_STORED if entry.is_dir() else zipfile.ZIP_DEFLATED
        written.writestr(plain, packed.read(entry), compression, 9)
os.replace(archive + ".new", archive)
