// The peer's whole run: node fill.mjs TEMPLATE RECIPIENTS OUTPUT. Reads recipients as the program
// does, ten to a page, and fills the template made by peer_template.py. It fits no text sizes.
import { readFileSync, writeFileSync } from "node:fs";
import Docxtemplater from "docxtemplater";
import PizZip from "pizzip";

const rowsPerPage = 10;
const [template, recipients, output] = process.argv.slice(2);

const blocks = readFileSync(recipients, "utf8").trim().split(/\n\s*\n/);
const pages = [];
for (let first = 0; first < blocks.length; first += rowsPerPage) {
  const page = { number: `${pages.length + 1}/${Math.ceil(blocks.length / rowsPerPage)}` };
  blocks.slice(first, first + rowsPerPage).forEach((block, row) => {
    const [name, ...lines] = block.split("\n").map((line) => line.trim());
    page[`name${row}`] = name;
    page[`address${row}`] = lines.join("\n");
  });
  pages.push(page);
}

const document = new Docxtemplater(new PizZip(readFileSync(template)), {
  paragraphLoop: true,
  linebreaks: true,
  nullGetter: () => "",
});
document.render({ pages, senderName: "Nadawca", senderAddress: "ul. Prosta 1, 00-838 Warszawa" });
writeFileSync(output, document.getZip().generate({ type: "nodebuffer", compression: "STORE" }));
