// The worker that carries all requests to the server and listens to its events. A request that fails, or is answered
// by an error, leaves a line on the console of a page but not on that of a worker; for the studio both are ordinary:
// a value that is no longer kept, a server that has ended. It is a plain script, started by studio/source.

/* global EventSource, postMessage, onmessage:writable */

const firstPause = 500, longestPause = 8000; // milliseconds between tries to reach the server
let pause = firstPause;

function listen(address) {
    const events = new EventSource(address);
    events.addEventListener("state", event => {
        pause = firstPause;
        postMessage({state: event.data});
    });
    events.onopen = () => postMessage({link: true});
    // The browser's own retry would go on with what it thinks right; a new connection begins with the latest state.
    events.onerror = () => {
        events.close();
        postMessage({link: false});
        setTimeout(() => listen(address), pause);
        pause = Math.min(pause * 2, longestPause);
    };
}

async function answer({number, address, body, as}) {
    const post = {method: "POST", headers: {"Content-Type": "application/json"}, body: JSON.stringify(body)};
    try {
        const response = await fetch(address, body === undefined ? {} : post);
        const good = response.ok;
        const content = good && as === "bytes" ? await response.arrayBuffer() : await response.json();
        postMessage({number, status: response.status, content}, good && as === "bytes" ? [content] : []);
    } catch (error) {
        postMessage({number, status: 0, content: {error: "The studio can't be reached"}});
    }
}

// Nothing to do where it is read as a module of the page.
if (typeof document === "undefined")
    onmessage = ({data}) => data.listen ? listen(data.listen) : answer(data);
