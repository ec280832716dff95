// What the site does in the browser besides showing pages: the light and dark mode, the contents on a phone, and the
// search. The copy buttons, the links at headings and the state of the mode come from doxygen-awesome-css.
'use strict';

DoxygenAwesomeFragmentCopyButton.init();
DoxygenAwesomeParagraphLink.init();

// navtree.js calls it. The style sheet lays the page out, for each width of the window.
function initResizable() {}

function initModeButton() {
    const mode = DoxygenAwesomeDarkModeToggle;
    document.getElementById('mode-button').addEventListener('click', () => {
        mode.userPreference = !mode.userPreference;
    });
}

// On a phone the tree of contents covers the page while it is open.
function initContentsButton() {
    const button = document.getElementById('nav-button');
    const show = (open) => {
        document.body.classList.toggle('nav-open', open);
        button.setAttribute('aria-expanded', open);
    };
    button.addEventListener('click', () => show(!document.body.classList.contains('nav-open')));
    document.getElementById('nav-tree').addEventListener('click', (event) => {
        const link = event.target.closest('.label a');
        if (link && link.getAttribute('href') !== 'javascript:void(0)') {
            show(false);
        }
    });
    document.addEventListener('keydown', (event) => {
        if (event.key === 'Escape') {
            show(false);
        }
    });
}

// The tree shows the pages of each group from the start; only the last group, which has all names, stays closed. Doxygen
// builds the tree after the page has loaded.
function openGroups() {
    const tree = document.getElementById('nav-tree-contents');
    const watch = new MutationObserver(() => {
        const groups = [...tree.querySelectorAll('.label a[class^="usergroup"]')].slice(0, -1);
        if (groups.length > 0) {
            watch.disconnect();
        }
        for (const arrow of groups.map((label) => label.closest('.item').querySelector('.arrow'))) {
            if (arrow.textContent === '\u25ba') {
                arrow.click();
            }
        }
    });
    watch.observe(tree, {childList: true, subtree: true});
}

// A wide table scrolls by itself, so that it does not widen the page.
function wrapTables() {
    for (const table of document.querySelectorAll('.contents table.doxtable, .contents table.markdownTable')) {
        const box = document.createElement('div');
        box.className = 'table-box';
        table.replaceWith(box);
        box.append(table);
    }
}

// How well an entry of the index matches the words: 0 if one of them is missing; better at the start of a word or name.
function matchQuality(entry, words) {
    const [title, , context] = entry.map((text) => text.toLowerCase());
    let quality = 0;
    for (const word of words) {
        const at = title.indexOf(word);
        if (at < 0 && !context.includes(word)) {
            return 0;
        }
        quality += at < 0 ? 1 : at === 0 ? 6 : /\w/.test(title[at - 1]) ? 2 : 4;
    }
    return quality + (title === words.join(' ') ? 10 : 0) + 1 / title.length;
}

function findEntries(query) {
    const words = query.toLowerCase().split(/\s+/).filter(Boolean);
    const found = words.length === 0 ? [] : siteIndex.map((entry) => [matchQuality(entry, words), entry]);
    return found.filter(([quality]) => quality > 0).sort((a, b) => b[0] - a[0]).slice(0, 50).map(([, entry]) => entry);
}

function showResults(query) {
    const results = document.getElementById('search-results');
    const links = findEntries(query).map(([title, url, context]) => {
        const link = document.createElement('a');
        link.href = url;
        link.append(title);
        const place = document.createElement('span');
        place.append(context);
        link.append(place);
        return link;
    });
    if (links.length === 0) {
        results.textContent = 'Nothing found';
    } else {
        results.replaceChildren(...links);
    }
    results.hidden = query.trim() === '';
}

// The index is loaded when the reader first goes to the field.
function withIndex(then) {
    if (typeof siteIndex !== 'undefined') {
        then();
        return;
    }
    const script = document.createElement('script');
    script.src = 'search-index.js';
    script.addEventListener('load', then);
    document.head.append(script);
}

// Moves to the next link of the results, or the one before; before the first one is the field.
function moveInResults(field, results, step) {
    const stops = [field, ...results.querySelectorAll('a')];
    const next = stops[stops.indexOf(document.activeElement) + step];
    if (next) {
        next.focus();
    }
}

function initSearch() {
    const box = document.getElementById('search');
    const field = document.getElementById('search-field');
    const results = document.getElementById('search-results');
    const hide = () => {
        results.hidden = true;
    };
    const update = () => withIndex(() => showResults(field.value));
    field.addEventListener('input', update);
    field.addEventListener('focus', update);
    results.addEventListener('click', hide);
    document.addEventListener('click', (event) => box.contains(event.target) || hide());
    box.addEventListener('keydown', (event) => {
        if (event.key === 'ArrowDown' || event.key === 'ArrowUp') {
            moveInResults(field, results, event.key === 'ArrowDown' ? 1 : -1);
            event.preventDefault();
        } else if (event.key === 'Escape') {
            field.focus();
            hide();
        } else if (event.key === 'Enter' && document.activeElement === field && !results.hidden) {
            const first = results.querySelector('a');
            if (first) {
                first.click();
            }
        }
    });
    document.addEventListener('keydown', (event) => {
        if (event.key === '/' && !event.target.closest('input')) {
            field.focus();
            event.preventDefault();
        }
    });
}

document.addEventListener('DOMContentLoaded', () => {
    initModeButton();
    initContentsButton();
    openGroups();
    initSearch();
    wrapTables();
});
