'use strict';

(() => {
  history.scrollRestoration = 'manual'; // a reload must not scroll away from what is shown

  const pingLimit = 3000; // ms
  const uploadLimit = 10000; // ms

  const photo = document.getElementById('photo');
  const status = document.getElementById('status');
  const progress = document.getElementById('progress');
  const bar = document.getElementById('bar');
  const retry = document.getElementById('retry');

  // Photos on their way. One may be chosen while another is being sent: the page then speaks of
  // all of them, and an answer to an older check no longer has the word.
  const sending = new Map(); // request -> { sent, total }
  let failure = '';
  let latestCheck = 0;

  function show(text, style = '') {
    // A line must not end with "Wi-".
    status.replaceChildren(...text.split(/(Wi-Fi\.?)/).map((part, index) => {
      const span = document.createElement('span');
      span.textContent = part;
      span.className = index % 2 ? 'whole' : '';
      return span;
    }));
    status.className = `status ${style}`.trim();
    status.scrollIntoView({ block: 'nearest' }); // for a phone on its side
  }

  function checkConnection() {
    const check = ++latestCheck;
    show('Sprawdzanie połączenia…');
    retry.hidden = true;

    const request = new XMLHttpRequest();
    request.open('GET', '/ping');
    request.timeout = pingLimit;
    request.onload = () => {
      if (check !== latestCheck) return;
      show('Oczekiwanie na zdjęcie…');
      photo.disabled = false;
    };
    request.onerror = request.ontimeout = () => {
      if (check !== latestCheck) return;
      show('Uruchom Kopertal na Macu i upewnij się, że oba urządzenia są w tej samej sieci Wi-Fi.',
        'warning');
      photo.disabled = true;
      retry.hidden = false;
      retry.scrollIntoView({ block: 'nearest' });
    };
    request.send();
  }

  function showProgress() {
    let sent = 0;
    let total = 0;
    for (const part of sending.values()) {
      sent += part.sent;
      total += part.total;
    }
    if (total > 0) bar.style.width = `${(sent / total) * 100}%`;
  }

  function upload(file) {
    ++latestCheck;
    if (sending.size === 0) {
      failure = '';
      bar.style.width = '0';
    }
    show('Wysyłanie…');
    progress.hidden = false;

    const request = new XMLHttpRequest();
    sending.set(request, { sent: 0, total: 0 });
    request.open('POST', '/upload');
    request.timeout = uploadLimit;
    request.upload.onprogress = (event) => {
      if (!event.lengthComputable) return;
      sending.set(request, { sent: event.loaded, total: event.total });
      showProgress();
    };
    const finish = (problem) => {
      sending.delete(request);
      failure = problem || failure;
      if (sending.size > 0) return;
      if (failure) {
        show(failure, 'error');
      } else {
        show('Zdjęcie wysłane! Możesz zamknąć tę stronę.', 'success');
        bar.style.width = '100%';
      }
    };
    request.onload = () => finish(request.status === 200 ? '' : `Błąd: ${request.status}`);
    request.onerror = request.ontimeout = () =>
      finish('Brak połączenia z Macem — uruchom aplikację i spróbuj ponownie.');
    request.send(file);
  }

  // Forgets the last choice before the next one: the same photo can be sent again, and a cancelled
  // picker changes nothing.
  photo.addEventListener('click', () => { photo.value = ''; });
  photo.addEventListener('change', () => {
    if (photo.files.length > 0) upload(photo.files[0]);
  });
  retry.addEventListener('click', checkConnection);

  // Only secure pages have service workers; without one, nothing is missing but the offline start.
  if ('serviceWorker' in navigator) {
    navigator.serviceWorker.register('/sw.js').catch(() => {});
  }
  checkConnection();
})();
