// A table that is sorted by a click on a heading: numbers largest first, names from A.

import { button, element } from "../dom";

export interface Column<Row> {
  title: string;
  hint?: string;
  isNumber?: boolean;
  cell(row: Row): string | HTMLElement;
  /** What to sort by; null for a missing number, which comes last. */
  order(row: Row): string | number | null;
}

export function sortableTable<Row>(rows: Row[], columns: Column<Row>[], sortedBy?: number): HTMLTableElement {
  const table = element("table", "sortable");
  const made = rows.map((row) => {
    const line = element("tr");
    for (const column of columns) {
      const cell = element("td", column.isNumber ? "number" : "");
      cell.append(column.cell(row));
      line.append(cell);
    }
    return { row, line };
  });
  const body = element("tbody");
  let sorted = { column: -1, isReversed: false };

  const sort = (index: number) => {
    const column = columns[index];
    const isReversed = sorted.column === index ? !sorted.isReversed : column.isNumber === true;
    sorted = { column: index, isReversed };
    const sign = isReversed ? -1 : 1;
    made.sort((a, b) => {
      const [one, other] = [column.order(a.row), column.order(b.row)];
      if (one === null || other === null) return Number(one === null) - Number(other === null);
      if (typeof one === "number" && typeof other === "number") return sign * (one - other);
      return sign * String(one).localeCompare(String(other), undefined, { numeric: true });
    });
    body.replaceChildren(...made.map(({ line }) => line));
    headings.forEach((heading, i) => {
      if (i !== index) heading.removeAttribute("aria-sort");
      else heading.setAttribute("aria-sort", isReversed ? "descending" : "ascending");
    });
  };

  const headings = columns.map((column, index) => {
    const heading = element("th", column.isNumber ? "number" : "");
    heading.scope = "col";
    const sorter = button("sorter", column.title, () => sort(index));
    if (column.hint) sorter.title = column.hint;
    heading.append(sorter);
    return heading;
  });
  const head = table.createTHead().insertRow();
  head.append(...headings);
  body.append(...made.map(({ line }) => line));
  table.append(body);
  if (sortedBy !== undefined) sort(sortedBy);
  return table;
}
