// Usage: node validate.mjs DOCUMENT... — prints what the Office validator finds in each, as JSON:
// a list of {document, version, id, path, description}.
import { readFile } from "node:fs/promises";
import validate from "@ooxml-tools/validate";

// Office 2010 looks inside the choices between drawings, later ones do not.
const versions = ["Office2010", "Microsoft365"];

const findings = [];
for (const document of process.argv.slice(2)) {
  const bytes = await readFile(document);
  for (const version of versions) {
    for (const { id, path, description } of await validate(bytes, "docx", version)) {
      findings.push({ document, version, id, path: path.xpath, description });
    }
  }
}
console.log(JSON.stringify(findings));
