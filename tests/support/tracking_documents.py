"""Answers of the tracking service stand-in: name -> (HTTP status, content type, bytes)."""

SOAP = "text/xml;charset=UTF-8"


def element(name, text, prefix="ax21"):
    if text is None:
        return f'<{prefix}:{name} xsi:nil="true"/>'
    return f"<{prefix}:{name}>{text}</{prefix}:{name}>"


def unit(name, locality=None, street=None, house=None, code=None, prefix="ax21"):
    details = "".join(element(tag, text, prefix) for tag, text in (
        ("dlGeogr", None), ("miejscowosc", locality), ("nrDomu", house), ("nrLokalu", None),
        ("pna", code), ("szerGeogr", None), ("ulica", street)))
    return (f'<{prefix}:jednostka xsi:type="{prefix}:Jednostka">'
            f'<{prefix}:daneSzczegolowe xsi:type="{prefix}:SzczDaneJednostki">{details}'
            f"</{prefix}:daneSzczegolowe>" + element("nazwa", name, prefix)
            + f"</{prefix}:jednostka>")


def event(time, name, code, place, final=False, prefix="ax21"):
    return (f'<{prefix}:zdarzenie xsi:type="{prefix}:Zdarzenie">' + element("czas", time, prefix)
            + place + element("kod", code, prefix)
            + element("konczace", "true" if final else "false", prefix)
            + element("nazwa", name, prefix) + element("przyczyna", None, prefix)
            + f"</{prefix}:zdarzenie>")


def answer(events, status="0", weight="0.05", finished=False, details=True, prefix="ax21"):
    def office(tag, name):
        return (f'<{prefix}:{tag} xsi:type="{prefix}:Jednostka">'
                + element("nazwa", name, prefix) + f"</{prefix}:{tag}>")

    shipment = ""
    if details:
        shipment = (f'<{prefix}:danePrzesylki xsi:type="{prefix}:DanePrzesylki">'
                    + element("dataNadania", "2025-03-10", prefix)
                    + element("kodKrajuNadania", "PL", prefix) + element("masa", weight, prefix)
                    + element("numer", "00990011223344556677", prefix)
                    + element("rodzPrzes", "List polecony ekonomiczny", prefix)
                    + office("urzadNadania", "UP Gdańsk 1") + office("urzadPrzezn", "UP Warszawa 1")
                    + element("zakonczonoObsluge", "true" if finished else "false", prefix)
                    + f"<{prefix}:zdarzenia>" + "".join(events) + f"</{prefix}:zdarzenia>"
                    + f"</{prefix}:danePrzesylki>")
    return (200, SOAP, (
        "<?xml version='1.0' encoding='UTF-8'?>"
        '<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/">'
        '<soapenv:Body><ns:sprawdzPrzesylkePlResponse xmlns:ns="http://stand-in.test" '
        f'xmlns:{prefix}="http://stand-in.test/xsd" '
        'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">'
        f'<ns:return xsi:type="{prefix}:Komunikat">{shipment}'
        + element("numer", "00990011223344556677", prefix) + element("status", status, prefix)
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


DOCUMENTS = {
    "delivered": answer(DELIVERED, finished=True),
    "pickedup": answer(PICKED_UP, finished=True),
    "open": answer(SENT),
    "relay": answer([SENT[3]]),
    "nil": answer(SENT, weight=None),
    "noevents": answer([]),
    "unknown": answer([], status="-1", details=False),
    "prefix": answer(DELIVERED, prefix="ns2"),
    "fault": (500, SOAP, FAULT),
    "page": (502, "text/html", ERROR_PAGE),
    "empty": (200, SOAP, b""),
    "latin2": (200, SOAP, answer(DELIVERED)[2].decode().encode("iso8859_2", "replace")),
    "huge": many_events(10_000_000),
}
