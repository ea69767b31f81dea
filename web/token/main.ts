// Asks for the token, and keeps what the address says of the view.

import "../parts/style.css";
import "./style.css";

document.querySelector("form")!.addEventListener("submit", (event) => {
  event.preventDefault();
  const typed = document.querySelector("input")!.value.trim();
  // The whole address may have been pasted.
  const token = /token=([^&#]+)/.exec(typed)?.[1] ?? typed;
  location.assign(`/?token=${encodeURIComponent(token)}${location.hash}`);
});
