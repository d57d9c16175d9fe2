"""The update feeds that tracking_service.py serves by name, for a program below version 99."""

import json

KIND = "application/feed+json"


def feed(*versions):
    items = [{"id": version, "url": f"https://kopertal.example/{version}", "title": version,
              "content_text": f"<b>Nowości</b> w {version}"} for version in versions]
    return 200, KIND, json.dumps({"version": "https://jsonfeed.org/version/1.1",
                                  "title": "Kopertal", "items": items}).encode()


FEEDS = {
    "feed-newer": feed("0.0.1", "99.2.0", "99.10.0-beta"),
    "feed-newest": feed("99.3.0", "99.2.0"),
    "feed-old": feed("0.0.1"),
    "feed-missing": (404, "text/html", b"<title>404</title>"),
    "feed-large": (200, KIND, feed("99.2.0")[2] + b" " * 1_000_000),
}
