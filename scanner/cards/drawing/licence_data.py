"""What the licence carries for machines: its barcode and the three tracks of its stripe.

Laid out as such cards lay it out; the number of the issuer, the state (XN) and the country (XNV) are such as nobody
has been given.
"""

LICENCE_NUMBER = "N4417-0274-158"

ELEMENTS = ("DAQN44170274158", "DCSQUILLON-MARSH", "DDEN", "DACADA", "DDFN", "DADLINNEA", "DDGN", "DCAD", "DCB01",
            "DCDNONE", "DBD03022021", "DBB09141992", "DBA09142029", "DBC2", "DAU067 IN", "DAYGRN",
            "DAG12 LANTERN WHARF", "DAIOSTERMERE", "DAJXN", "DAK202740000  ", "DCF0274441907716", "DCGXNV")


def card_text():
    body = "DL" + "\n".join(ELEMENTS) + "\r"
    start = "@\n\x1e\rANSI 000274090001"
    return "%sDL%04d%04d%s" % (start, len(start) + 10, len(body), body)


PDF417_TEXT = card_text()

TRACKS = {
    "track1": "XNOSTERMERE^QUILLON-MARSH$ADA$LINNEA^12 LANTERN WHARF^",
    "track2": "00027444170274158=290919920914",
    "track3": "10202740000  D 01            2067   BROGRN0274N44170",
}
