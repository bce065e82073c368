"use strict";
// The page works without this. With it, what changes on the machines changes here too.
(() => {
  const news = document.getElementById("news");
  let pending = 0;
  let isAsking = false;
  let hasMissed = false;

  const tell = (before, after) => {
    const state = after.dataset.state;
    if (state && before.dataset.state !== state) {
      news.textContent = `${after.dataset.name}: ${state}`;
    }
  };

  // What the user is filling in stays as it is.
  const isBusy = (part) => {
    const active = document.activeElement;
    const isFilled = [...part.querySelectorAll("input:not([type=hidden]), select")].some((field) =>
      field.tagName === "SELECT"
        ? [...field.options].some((option) => option.selected !== option.defaultSelected && field.querySelector("[selected]"))
        : field.value !== field.defaultValue);
    return isFilled || (part.contains(active) && active.matches("input, select"));
  };

  const replace = (before, after) => {
    if (before.innerHTML === after.innerHTML || isBusy(before)) {
      return;
    }
    tell(before, after);
    for (const row of after.querySelectorAll("[data-state]")) {
      const old = document.getElementById(row.id);
      if (old) {
        tell(old, row);
      }
    }
    const active = before.contains(document.activeElement) ? document.activeElement : null;
    const place = active ? [...before.querySelectorAll("a, button")].indexOf(active) : -1;
    const key = active && active.closest("[id]") ? active.closest("[id]").id : "";
    before.innerHTML = after.innerHTML;
    before.dataset.state = after.dataset.state || "";
    if (active) {
      const part = key && document.getElementById(key) && key !== before.id ? document.getElementById(key) : before;
      const next = part === before ? before.querySelectorAll("a, button")[place] : part.querySelector("a, button");
      if (next) {
        next.focus();
      }
    }
  };

  const refresh = async () => {
    pending = 0;
    if (isAsking) {
      hasMissed = true;
      return;
    }
    isAsking = true;
    try {
      const answer = await fetch(location.href, { headers: { "X-Fragment": "1" }, credentials: "same-origin" });
      if (answer.ok) {
        const fresh = new DOMParser().parseFromString(await answer.text(), "text/html");
        for (const after of fresh.querySelectorAll("[data-live]")) {
          const before = document.getElementById(after.id);
          if (before) {
            replace(before, after);
          }
        }
      }
    } catch {
      // The next event, or the next question, comes.
    } finally {
      isAsking = false;
      if (hasMissed) {
        hasMissed = false;
        plan(200);
      }
    }
  };

  const plan = (delay) => {
    if (!pending) {
      pending = setTimeout(refresh, delay);
    }
  };

  if (!document.querySelector("[data-live]")) {
    return;
  }
  let poll = 0;
  const listen = () => {
    const events = new EventSource("/api/v1/events");
    for (const kind of ["job", "machine"]) {
      events.addEventListener(kind, () => plan(50));
    }
    let isFirst = true;
    events.addEventListener("all", () => {
      clearInterval(poll);
      poll = 0;
      if (!isFirst) {
        plan(50);
      }
      isFirst = false;
      document.documentElement.dataset.listening = "1";
    });
    events.addEventListener("error", () => {
      // As many listen as may, or the manager is gone: ask now and then.
      if (events.readyState === EventSource.CLOSED && !poll) {
        poll = setInterval(() => plan(0), 5000);
      }
    });
    addEventListener("pagehide", () => events.close());
  };
  addEventListener("pageshow", (event) => {
    if (event.persisted) {
      listen();
      plan(0);
    }
  });
  listen();
  // Ages grow without an event.
  setInterval(() => plan(0), 60000);
})();
