// Enlarging of the images. The page is complete without it. What went wrong is kept on the root element, for tests.
(function () {
  'use strict';
  const root = document.documentElement;
  root.dataset.errors = '0';
  window.addEventListener('error', function () { root.dataset.errors = String(Number(root.dataset.errors) + 1); }, true);

  const buttons = Array.from(document.querySelectorAll('figure button'));
  const viewer = document.getElementById('viewer');
  const stage = viewer.querySelector('.stage');
  const large = document.createElement('img');
  let shown = 0, scale = 1;

  function whole() {
    return Math.min(stage.clientWidth / large.naturalWidth, stage.clientHeight / large.naturalHeight);
  }
  // The middle of what is seen stays in the middle.
  function resize(to) {
    const factor = Math.min(Math.max(to, 0.05), 16) / scale;
    const x = (stage.scrollLeft + stage.clientWidth / 2) * factor, y = (stage.scrollTop + stage.clientHeight / 2) * factor;
    scale *= factor;
    large.style.width = Math.round(large.naturalWidth * scale) + 'px';
    stage.scrollTo(x - stage.clientWidth / 2, y - stage.clientHeight / 2);
  }
  function show(number) {
    shown = (number + buttons.length) % buttons.length;
    const small = buttons[shown].querySelector('img');
    large.src = small.src;
    large.alt = small.alt;
    document.getElementById('viewer-title').textContent =
      buttons[shown].parentElement.querySelector('figcaption').textContent;
    if (!viewer.open) viewer.showModal();
    large.decode().then(function () { resize(whole()); });
    stage.focus();
  }
  const actions = {
    previous: function () { show(shown - 1); },
    next: function () { show(shown + 1); },
    smaller: function () { resize(scale / 1.25); },
    larger: function () { resize(scale * 1.25); },
    whole: function () { resize(whole()); },
    close: function () { viewer.close(); }
  };
  const keys = { '+': 'larger', '=': 'larger', '-': 'smaller', '0': 'whole' };

  stage.append(large);
  buttons.forEach(function (button, number) { button.addEventListener('click', function () { show(number); }); });
  viewer.addEventListener('close', function () { buttons[shown].focus(); });
  viewer.addEventListener('click', function (event) {
    const chosen = event.target.closest('[data-do]');
    if (chosen) actions[chosen.dataset.do]();
  });
  large.addEventListener('dblclick', function () { resize(scale < 1 ? 1 : whole()); });
  viewer.addEventListener('keydown', function (event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const wide = stage.scrollWidth > stage.clientWidth; // then the arrows scroll
    const action = keys[event.key] || (!wide && { ArrowLeft: 'previous', ArrowRight: 'next' }[event.key]);
    if (!action) return;
    event.preventDefault();
    actions[action]();
  });

  window.addEventListener('load', function () {
    const images = buttons.map(function (button) { return button.querySelector('img'); });
    const loaded = images.filter(function (image) { return image.complete && image.naturalWidth > 0; });
    root.dataset.images = loaded.length + '/' + images.length;
  });
}());
