// What a page of scanreport has to be for everybody. Evaluates to what is wrong with it as it is shown now.
(() => {
  const faults = [];
  const expect = (holds, what) => holds || faults.push(what);
  const all = (selector, within = document) => [...within.querySelectorAll(selector)];
  const shortly = (element) =>
    `<${element.localName} class="${element.getAttribute("class") ?? ""}"> "${element.textContent.slice(0, 40)}"`;
  const isVisible = (element) => element.checkVisibility() && element.getClientRects().length > 0;

  // Structure.
  expect(document.documentElement.lang === "en", "the language isn't told");
  expect(document.title !== "", "there is no title");
  for (const selector of ["h1", "main", "body > header", "body > nav[aria-label]", "body > footer"]) {
    expect(all(selector).length === 1, `there are ${all(selector).length} of ${selector}`);
  }
  let level = 0;
  for (const heading of all("h1, h2, h3, h4, h5, h6")) {
    const own = Number(heading.localName[1]);
    expect(own <= level + 1, `level ${own} behind ${level}: ${shortly(heading)}`);
    expect(heading.textContent.trim() !== "", `an empty heading of level ${own}`);
    level = own;
  }
  const ids = all("[id]").map((element) => element.id);
  expect(new Set(ids).size === ids.length, "an id stands there twice");
  const text = (id) => document.getElementById(id)?.textContent.trim() ?? "";
  for (const element of all("[aria-labelledby], [aria-describedby]")) {
    for (const attribute of ["aria-labelledby", "aria-describedby"]) {
      const id = element.getAttribute(attribute);
      expect(id === null || text(id) !== "", `${attribute} of ${shortly(element)} names nothing`);
    }
  }
  for (const link of all("a")) {
    expect(document.getElementById(link.hash.slice(1)) !== null, `a link goes nowhere: ${shortly(link)}`);
    expect(link.textContent.trim() !== "", "a link has no text");
  }
  for (const drawing of all("svg").filter((svg) => svg.parentElement.closest("svg") === null)) {
    const isNamed = drawing.getAttribute("role") === "img" && drawing.hasAttribute("aria-labelledby");
    expect(isNamed || drawing.getAttribute("aria-hidden") === "true", `a drawing has no name: ${shortly(drawing)}`);
  }
  for (const table of all("table")) {
    expect((table.caption?.textContent ?? "") !== "", "a table has no caption");
    const isHeading = (cell) => cell.scope !== "" && cell.textContent.trim() !== "";
    expect(all("th", table).every(isHeading), `a heading of ${shortly(table)} has no scope or no text`);
    const columns = table.tHead.rows[0].cells.length;
    for (const row of table.rows) {
      const width = [...row.cells].reduce((sum, cell) => sum + cell.colSpan, 0);
      const isWhole = width === columns && row.cells[0].localName === "th";
      expect(isWhole, `a row of ${shortly(table)} has ${width} cells of ${columns}`);
    }
  }
  for (const list of all("ul, dl")) {
    const kind = list.localName === "ul" ? "li" : "div";
    expect([...list.children].every((child) => child.localName === kind), `children of ${shortly(list)}`);
  }

  // Room.
  const room = document.documentElement.clientWidth;
  expect(document.documentElement.scrollWidth <= room, `the page is ${document.documentElement.scrollWidth} wide`);
  for (const element of all("main *, footer *").filter((one) => !one.closest("svg, .scroll, caption") && isVisible(one))) {
    const {left, right} = element.getBoundingClientRect();
    expect(left >= -0.5 && right <= room + 0.5, `${shortly(element)} reaches from ${left} to ${right}`);
  }

  // Contrast (WCAG 2): of text 4.5 to 1, of large text and of drawings 3 to 1, to what lies behind.
  const colour = (value) => (value.match(/[\d.]+/g) ?? []).map(Number);
  const isOpaque = (value) => value.startsWith("rgb") && (colour(value)[3] ?? 1) === 1;
  const luminance = (value) => {
    const [red, green, blue] = colour(value).map((part) => part / 255)
      .map((part) => (part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4));
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  };
  const contrast = (one, other) => {
    const [low, high] = [luminance(one), luminance(other)].sort((a, b) => a - b);
    return (high + 0.05) / (low + 0.05);
  };
  const behind = (element) => {
    for (let one = element; one !== null; one = one.parentElement) {
      // A cell of a map is a drawing in which the label follows the rectangle.
      const rectangle = one !== element && one.localName === "svg" ? one.querySelector(":scope > rect") : null;
      if (rectangle !== null && element.localName === "text") return getComputedStyle(rectangle).fill;
      const value = getComputedStyle(one).backgroundColor;
      if (isOpaque(value)) return value;
      expect(colour(value)[3] === 0, `half a background: ${shortly(one)}`);
    }
    return "rgb(255, 255, 255)";
  };
  let texts = 0, shapes = 0;
  for (const element of all("body *").filter((one) => !one.closest("title, desc, caption") && isVisible(one))) {
    if (![...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.data.trim() !== "")) continue;
    const style = getComputedStyle(element);
    const size = parseFloat(style.fontSize);
    const isLarge = size >= 24 || (size >= 18.66 && Number(style.fontWeight) >= 700);
    const ratio = contrast(element.localName === "text" ? style.fill : style.color, behind(element));
    expect(ratio >= (isLarge ? 3 : 4.5), `contrast ${ratio.toFixed(2)} of ${shortly(element)}`);
    expect(style.opacity === "1" && size >= 10, `${shortly(element)} is ${size} px small`);
    ++texts;
  }
  for (const shape of all(".fill, .space, .entries, .cell > rect, .strip rect:not(.gauge .c1), .key").filter(isVisible)) {
    const value = shape.localName === "rect" ? getComputedStyle(shape).fill : getComputedStyle(shape).backgroundColor;
    const cell = shape.closest(".cell");
    const ground = behind((cell ?? shape).parentElement);
    const ratio = contrast(value, ground);
    expect(ratio >= 3, `contrast ${ratio.toFixed(2)} of ${shortly(shape)} in ${shortly(shape.parentElement)}`);
    ++shapes;
  }
  expect(texts > 50 && shapes > 20, `only ${texts} texts and ${shapes} shapes were asked for their contrast`);
  return faults;
})()
