# SPDX-License-Identifier: MIT
"""Documents of which no two are alike, and the check that one arrived whole."""

import random
import zlib

from private_machine import run


def _page(title, number, image):
    text = "BT /F1 24 Tf 72 700 Td (%s page %d) Tj ET" % (title, number)
    return text + (" q 200 0 0 200 72 300 cm /Im1 Do Q" if image else "")


def unique_pdf(title, kilobytes=None):
    """A PDF whose pages say its title, with a picture that does not compress. The title alone decides what it is like."""
    chance = random.Random(title)
    pages = chance.choice((1, 1, 1, 2, 3, 5))
    side = int((1024 * kilobytes) ** 0.5) if kilobytes else chance.choice((0, 60, 200, 500))
    picture = zlib.compress(chance.randbytes(side * side), 0)
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>",
               b"<< /Type /Pages /Kids [%s] /Count %d >>" %
               (b" ".join(b"%d 0 R" % (5 + 2 * i) for i in range(pages)), pages),
               b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
               b"<< /Type /XObject /Subtype /Image /Width %d /Height %d /ColorSpace /DeviceGray /BitsPerComponent 8 "
               b"/Filter /FlateDecode /Length %d >>\nstream\n%s\nendstream" % (side, side, len(picture), picture)]
    for number in range(pages):
        content = _page(title, number + 1, side > 0 and number == 0).encode()
        objects.append(b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents %d 0 R /Resources "
                       b"<< /Font << /F1 3 0 R >> /XObject << /Im1 4 0 R >> >> >>" % (6 + 2 * number))
        objects.append(b"<< /Length %d >>\nstream\n%s\nendstream" % (len(content), content))
    return _file(objects), pages


def _file(objects):
    data = b"%PDF-1.4\n"
    offsets = []
    for number, body in enumerate(objects, start=1):
        offsets.append(len(data))
        data += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    table = b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    return data + (b"xref\n0 %d\n0000000000 65535 f \n%strailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n"
                   % (len(objects) + 1, table, len(objects) + 1, len(data)))


def says_its_title(path, title, pages):
    """Whether a PDF's pages are those of the document with this title, and no others."""
    text = run("pdftotext", path, "-")
    return [line.strip("\f") for line in text.split("\n") if line.strip("\f")] == \
        ["%s page %d" % (title, i + 1) for i in range(pages)]
