"""Answers of the tracking service stand-in: name -> (HTTP status, content type, bytes)."""

SOAP = "text/xml;charset=UTF-8"


def element(name, text):
    if text is None:
        return f'<ax21:{name} xsi:nil="true"/>'
    return f"<ax21:{name}>{text}</ax21:{name}>"


def unit(name, locality=None, street=None, house=None, code=None):
    details = "".join(element(tag, text) for tag, text in (
        ("dlGeogr", None), ("miejscowosc", locality), ("nrDomu", house), ("nrLokalu", None),
        ("pna", code), ("szerGeogr", None), ("ulica", street)))
    return ('<ax21:jednostka xsi:type="ax21:Jednostka">'
            f'<ax21:daneSzczegolowe xsi:type="ax21:SzczDaneJednostki">{details}'
            "</ax21:daneSzczegolowe>" + element("nazwa", name)
            + "</ax21:jednostka>")


def event(time, name, code, place, final=False):
    return ('<ax21:zdarzenie xsi:type="ax21:Zdarzenie">' + element("czas", time)
            + place + element("kod", code)
            + element("konczace", "true" if final else "false")
            + element("nazwa", name) + element("przyczyna", None)
            + "</ax21:zdarzenie>")


def answer(events, status="0", weight="0.05", finished=False, details=True):
    def office(tag, name):
        return (f'<ax21:{tag} xsi:type="ax21:Jednostka">'
                + element("nazwa", name) + f"</ax21:{tag}>")

    shipment = ""
    if details:
        shipment = ('<ax21:danePrzesylki xsi:type="ax21:DanePrzesylki">'
                    + element("dataNadania", "2025-03-10")
                    + element("kodKrajuNadania", "PL") + element("masa", weight)
                    + element("numer", "00990011223344556677")
                    + element("rodzPrzes", "List polecony ekonomiczny")
                    + office("urzadNadania", "UP Gdańsk 1") + office("urzadPrzezn", "UP Warszawa 1")
                    + element("zakonczonoObsluge", "true" if finished else "false")
                    + "<ax21:zdarzenia>" + "".join(events) + "</ax21:zdarzenia>"
                    + "</ax21:danePrzesylki>")
    return (200, SOAP, (
        "<?xml version='1.0' encoding='UTF-8'?>"
        '<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/">'
        '<soapenv:Body><ns:sprawdzPrzesylkePlResponse xmlns:ns="http://stand-in.test" '
        'xmlns:ax21="http://stand-in.test/xsd" '
        'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">'
        f'<ns:return xsi:type="ax21:Komunikat">{shipment}'
        + element("numer", "00990011223344556677") + element("status", status)
        + "</ns:return></ns:sprawdzPrzesylkePlResponse></soapenv:Body></soapenv:Envelope>"
    ).encode())


GDANSK = unit("UP Gdańsk 1", "Gdańsk", "Długa", "23/28", "80-801")
SORTING = unit("WER Pruszcz Gdański", "Pruszcz Gdański", None, "7", "83-000")
RELAY = unit("Centralny System", "Warszawa")
WARSAW = unit("UP Warszawa 1", "Warszawa", "Marszałkowska", "1", "00-001")

SENT = [
    event("2025-03-10 12:01", "Nadanie", "P_NAD", GDANSK),
    event("2025-03-10 17:44", "Wysłanie przesyłki z placówki nadawczej", "P_WPN", GDANSK),
    event("2025-03-10 22:10", "Nadejście", "P_PRZ", SORTING),
    event("2025-03-11 01:30", "W transporcie", "P_TR", RELAY),
    event("2025-03-11 06:15", "Nadejście", "P_PRZ", WARSAW),
    event("2025-03-11 08:00", "Przekazanie przesyłki doręczycielowi", "P_DOR", WARSAW),
]
DELIVERED = SENT + [event("2025-03-11 11:52", "Doręczono", "P_D", WARSAW, final=True)]
PICKED_UP = SENT + [
    event("2025-03-12 09:10", "Odebrano w placówce", "P_OWU", WARSAW, final=True),
    event("2025-03-12 09:20", "Zwrotne potwierdzenie odbioru", "P_ZPO", RELAY),
]
FAULT = ('<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/">'
         "<soapenv:Body><soapenv:Fault><faultcode>soapenv:Server</faultcode>"
         "<faultstring>WSDoAllReceiver: security processing failed</faultstring>"
         "</soapenv:Fault></soapenv:Body></soapenv:Envelope>").encode()
ERROR_PAGE = ("<!DOCTYPE html><html><head><title>502 Bad Gateway</title></head>"
              "<body><h1>502 Bad Gateway</h1></body></html>").encode()


def many_events(size):
    one = SENT[2]
    return answer([one] * (size // len(one.encode())) + [DELIVERED[-1]], finished=True)


def flood(size):
    """As many events as there is room for, and many with long texts: what takes up most memory."""
    empty = b"<ax21:zdarzenie></ax21:zdarzenie>"
    status, kind, long = answer([event("t" * 100, "n" * 900, "k", unit("u" * 900, "m" * 900))] * 300)
    return status, kind, empty * ((size - len(long)) // len(empty)) + long


DOCUMENTS = {
    "delivered": answer(DELIVERED, finished=True),
    "pickedup": answer(PICKED_UP, finished=True),
    "open": answer(SENT),
    "relay": answer([SENT[3]]),
    "nil": answer(SENT, weight=None),
    "noevents": answer([]),
    "bare": answer([], details=False),
    "tricks": answer([event("2025-03-11\u009b", "Do\u202er\u2028\u2029ęczono", "\U000e0041", WARSAW)]),
    "unknown": answer([], status="-1", details=False),
    "prefix": (200, SOAP, answer(DELIVERED)[2].replace(b"ax21", b"ns2")),
    "fault": (500, SOAP, FAULT),
    "page": (502, "text/html", ERROR_PAGE),
    "empty": (200, SOAP, b""),
    "latin2": (200, SOAP, answer(DELIVERED)[2].decode().encode("iso8859_2", "replace")),
    "huge": many_events(10_000_000),
    "flood": flood(16_700_000),
}
