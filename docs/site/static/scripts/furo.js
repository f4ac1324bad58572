// In place of the theme's own script, which is a module that browsers do not load from a file: the
// button for light and dark, and the mark beside the current heading in the list of contents.
"use strict";

const prefersDark = window.matchMedia("(prefers-color-scheme: dark)");

function chosenTheme() {
  try {
    return localStorage.getItem("theme");
  } catch {
    return null; // a browser that stores nothing for files
  }
}

// Without a choice the page follows the system.
function showTheme() {
  const chosen = chosenTheme();
  const isDark = chosen === "dark" || (chosen !== "light" && prefersDark.matches);
  document.body.dataset.theme = isDark ? "dark" : "light";
}

function toggleTheme() {
  const next = document.body.dataset.theme === "dark" ? "light" : "dark";
  try {
    localStorage.setItem("theme", next);
  } catch {
    // the choice holds for this page
  }
  document.body.dataset.theme = next;
}

function markCurrentHeading() {
  const links = [...document.querySelectorAll(".toc-tree a[href^='#']")];
  const placeOf = (link) => document.getElementById(decodeURIComponent(link.hash.slice(1)));
  const passed = links.filter((link) => placeOf(link)?.getBoundingClientRect().top < 100);
  for (const link of links)
    link.parentElement.classList.toggle("scroll-current", link === passed.at(-1));
}

showTheme();
prefersDark.addEventListener("change", showTheme);
for (const button of document.getElementsByClassName("theme-toggle"))
  button.addEventListener("click", toggleTheme);
document.addEventListener("scroll", markCurrentHeading, { passive: true });
markCurrentHeading();
document.documentElement.classList.remove("no-js");
