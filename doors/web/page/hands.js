// What a person does anywhere on the page: keys, pasting, dropping.

const isTyping = target => target.matches?.('input:not([type=range], [type=checkbox], [type=color]), select, textarea');

// `at(id)`: an element of the page; `acts`: {undo(), redo(), open(file)}, and leave(), false where there is nothing to leave.
export function listenToHands(at, view, acts) {
    addEventListener('keydown', event => {
        const control = event.ctrlKey || event.metaKey, key = event.key.toLowerCase();
        if (key === 'escape') {
            if (!acts.leave()) return;
        } else if (control && key === 'o') at('file').click();
        else if (control && key === 's') at('save').click();
        else if (isTyping(event.target)) return;
        else if (control && key === 'z' && !event.shiftKey) acts.undo();
        else if (control && (key === 'y' || key === 'z')) acts.redo();
        else if (!control && key === 'c') view.hold(true);
        else return;
        event.preventDefault();
    });
    addEventListener('keyup', event => {
        if (event.key.toLowerCase() === 'c' || event.target === at('compare')) view.hold(false);
    });
    addEventListener('blur', () => view.hold(false));   // whose end is heard elsewhere
    at('compare').addEventListener('keydown', event => {
        if (event.key === ' ' || event.key === 'Enter') view.hold(true);
    });

    addEventListener('paste', event => {
        const file = [...event.clipboardData.files].find(({type}) => type.startsWith('image/'));
        if (file) acts.open(file);
    });
    addEventListener('dragover', event => {
        event.preventDefault();
        document.body.classList.add('dropping');
    });
    addEventListener('dragleave', event => {
        if (!event.relatedTarget) document.body.classList.remove('dropping');
    });
    addEventListener('drop', event => {
        event.preventDefault();
        document.body.classList.remove('dropping');
        const [file] = event.dataTransfer.files;
        if (file) acts.open(file);
    });
}
