"""Gives the members of a Debian package the usual mode: CPack takes that of its temporary files, and so the umask's."""
import sys

HEADER = 60
package = sys.argv[1]
with open(package, "r+b") as file:
    if file.read(8) != b"!<arch>\n":
        sys.exit(f"{package} is no Debian package")
    while header := file.read(HEADER):
        if len(header) != HEADER or header[58:] != b"`\n":
            sys.exit(f"{package} is damaged")
        size = int(header[48:58])
        file.seek(40 - HEADER, 1)
        file.write(b"100644  ")
        # The next member begins at an even place.
        file.seek(HEADER - 48 + size + size % 2, 1)
