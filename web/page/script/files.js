// The files of the user: dropped or chosen, each with what it is.
import { html } from "../../../report/page/script/elements.js";
import { roles } from "./fields.js";
import { removeFile, setRole, state } from "./state.js";
import { bytes, say } from "./texts.js";

function rowOf(file, changed) {
  const chooser = html("select", {
    "aria-label": say("file.role.of", { name: file.name }),
    onchange: (event) => {
      setRole(file, event.target.value);
      changed();
    },
  }, roles.map((role) => html("option", { value: role, selected: role === file.role }, say(`role.${role}`))));
  return html("li", {},
    html("span", { class: "name" }, file.name), html("span", { class: "quiet" }, bytes(file.blob.size)), chooser,
    html("button", {
      type: "button", "aria-label": say("file.remove.of", { name: file.name }),
      onclick: () => {
        removeFile(file);
        changed();
      },
    }, say("file.remove")));
}

// take: gets the list of files that were dropped or chosen.
export function filesSection(take, changed) {
  const input = html("input", { type: "file", multiple: true, id: "files", class: "unseen", onchange: () => take([...input.files]).then(() => { input.value = ""; }) });
  return html("section", { id: "part-files" },
    html("h2", {}, say("section.files")),
    html("div", { class: "drop" }, input,
      html("label", { for: "files", class: "button main" }, say("files.choose")),
      html("span", {}, say("files.drop"))),
    html("p", { class: "quiet" }, say("files.stay")),
    state.files.length > 0 && html("ul", { class: "files" }, state.files.map((file) => rowOf(file, changed))));
}

// Files may be dropped anywhere on the page.
export function takeDrops(take) {
  const isFile = (event) => [...(event.dataTransfer?.types ?? [])].includes("Files");
  addEventListener("dragover", (event) => {
    if (!isFile(event)) return;
    event.preventDefault();
    document.body.classList.add("over");
  });
  addEventListener("dragleave", (event) => event.relatedTarget === null && document.body.classList.remove("over"));
  addEventListener("drop", (event) => {
    document.body.classList.remove("over");
    if (!isFile(event)) return;
    event.preventDefault();
    take([...event.dataTransfer.files]);
  });
}
