// Usage: node validate.mjs DOCUMENT... — prints what the Office validator finds, a line each.
import { readFile } from "node:fs/promises";
import validate from "@ooxml-tools/validate";

for (const document of process.argv.slice(2)) {
  const bytes = await readFile(document);
  // Office 2010 looks inside the choices between drawings, later ones do not.
  for (const version of ["Office2010", "Microsoft365"]) {
    for (const { id, path, description } of await validate(bytes, "docx", version)) {
      console.log(document, version, id, path.xpath, description.replaceAll(/\s+/g, " "));
    }
  }
}
