"use strict";

const texts = {
    en: { title: "Figures", figure: "Figure", label: "Of", value: "Value", away: "The program does not answer." },
    de: { title: "Zahlen", figure: "Zahl", label: "Von", value: "Wert", away: "Das Programm antwortet nicht." },
    es: { title: "Cifras", figure: "Cifra", label: "De", value: "Valor", away: "El programa no responde." },
};
const language = navigator.languages.map((name) => name.slice(0, 2)).find((name) => name in texts) || "en";
const text = texts[language];
const rows = document.getElementById("rows");
const state = document.getElementById("state");

/** The samples of a text of figures, but for the buckets of histograms: what it is, of what, and how much. */
function samplesOf(metrics) {
    const help = {};
    const samples = [];
    for (const line of metrics.split("\n")) {
        const described = /^# HELP (\S+) (.*)$/.exec(line);
        const sample = /^([^\s{#]+)(?:\{(.*)\})? (\S+)$/.exec(line);
        if (described) {
            help[described[1]] = described[2];
        } else if (sample && !sample[1].endsWith("_bucket")) {
            samples.push([help[sample[1]] || sample[1], sample[2] || "", sample[3]]);
        }
    }
    return samples;
}

/** Shows the samples, and leaves what has not changed as it is. */
function show(samples) {
    while (rows.rows.length > samples.length) {
        rows.deleteRow(-1);
    }
    samples.forEach((cells, index) => {
        const row = rows.rows[index] || rows.insertRow();
        cells.forEach((cell, column) => {
            const shown = row.cells[column] || row.insertCell();
            const value = column === 2 ? Number(cell).toLocaleString(language) : cell;
            if (shown.textContent !== value) {
                shown.textContent = value;
            }
        });
    });
}

function showState(sentence) {
    if (state.textContent !== sentence) {
        state.textContent = sentence;
        state.className = sentence ? "away" : "";
    }
}

async function renew() {
    try {
        const response = await fetch("metrics");
        if (!response.ok) {
            throw new Error(response.statusText);
        }
        show(samplesOf(await response.text()));
        showState("");
    } catch (error) {
        showState(text.away);
    }
    setTimeout(renew, 2000);
}

document.documentElement.lang = language;
document.title = text.title;
for (const name of ["title", "figure", "label", "value"]) {
    document.getElementById(name).textContent = text[name];
}
renew();
