#!/usr/bin/python3
"""A phone: opens an address in a real browser with a phone's screen and sends photos from the page there, one after
the other: phone.py ADDRESS PHOTO..."""

import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / 'scan'))
from phone_pages_test import READY, SENT, By, start_browser  # noqa: E402

PATIENCE = 60


def await_status(browser, text):
    deadline = time.monotonic() + PATIENCE
    while browser.find_element(By.ID, 'status').text != text:
        if time.monotonic() > deadline:
            sys.exit(f'not seen: {text}')
        time.sleep(0.05)


def main(address, photos):
    browser = start_browser()
    try:
        browser.get(address)
        await_status(browser, READY)
        for photo in photos:
            browser.execute_script('document.getElementById("status").textContent = "";')
            browser.find_element(By.ID, 'photo').send_keys(str(Path(photo).resolve()))
            await_status(browser, SENT)
    finally:
        browser.quit()


if __name__ == '__main__':
    main(sys.argv[1], sys.argv[2:])
