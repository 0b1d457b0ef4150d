// Runs before the first paint: chooses the colours, and lets the style hide all articles but one.
(() => {
  const root = document.documentElement;
  root.classList.add("script");
  try {
    const scheme = localStorage.getItem("kvrpc-scheme");
    if (scheme === "light" || scheme === "dark") root.dataset.scheme = scheme;
  } catch { /* A page from a file may have no storage. */ }
})();
