// wpk_send.js: sends a message to a named service and writes the reply. JavaScript, with the module koffi (npm).
// SPDX-License-Identifier: MIT
'use strict';
const fs = require('fs');
const path = require('path');

const VERSION = '1.0.0';
const USAGE = `usage: node wpk_send.js SERVER PORT SERVICE MESSAGE [PROXY_HOST:PORT [USER:PASSWORD]]
Exit status: 0 when the reply has been written, 1 when it could not be, 2 when the command line is wrong, 3 and 4 when
the library could not be initialised or take the message, 11 to 18 for WPK_ERROR -1 to -8.`;
// By number: the streams of `process` do not support every kind of handle that a Windows program may be started with.
const STANDARD_OUTPUT = 1;
const STANDARD_ERROR = 2;
// Exit statuses; a failed request has 10 more than its WPK_ERROR without the sign.
const STATUS = { replied: 0, otherTrouble: 1, wrongUsage: 2, notInitialised: 3, notSent: 4 };
// The sentences of wpk/error_text.h.
const ERROR_TEXTS = {
    [-1]: 'The request is unusable: the server or the proxy is not named.',
    [-2]: 'There is no network connection.',
    [-3]: 'The server (or the proxy) could not be reached.',
    [-4]: 'The request was cancelled.',
    [-5]: 'The server speaks another version of the protocol, or is no server of this kind.',
    [-6]: 'The server has no service of that name.',
    [-7]: 'The exchange with the server broke, or the server refused the message.',
    [-8]: 'The proxy wants a user name and a password, and got none that it accepts.',
};
const UNKNOWN_ERROR_TEXT = 'The request failed for a reason that this program does not know.';
const CONNECTION_PERMANENT = 2;
// By its path: a name without a path would be searched for in several folders, including the current one.
const LIBRARY = path.join(__dirname, 'wpk.dll');

/** Handles what needs no library, and exits. */
function answer(text) {
    fs.writeSync(STANDARD_OUTPUT, `${text}\n`);
    process.exit(STATUS.replied);
}

if (process.argv[2] === '--version') answer(`wpk_send.js ${VERSION}`);
if (process.argv[2] === '--help') answer(USAGE);

/** An error with a text for the user and the program's exit status. */
class Trouble extends Error {
    constructor(text, status) {
        super(text);
        this.status = status;
    }
}

function requestTrouble(error) {
    return new Trouble(`error ${error}: ${ERROR_TEXTS[error] || UNKNOWN_ERROR_TEXT}`, 10 - error);
}

function say(text) {
    fs.writeSync(STANDARD_ERROR, `wpk_send.js: ${text}\n`);
}

function requireKoffi() {
    try {
        return require('koffi');
    } catch (error) {
        say(`the module koffi cannot be loaded (${firstLine(error)}); get it with: npm install koffi`);
        return process.exit(STATUS.notInitialised);
    }
}

function firstLine(error) {
    return String(error.message).split('\n')[0].trim();
}

const koffi = requireKoffi();
const REASON = { failure: 0, progress: 1, reply: 2, connection: 3, credentials: 4 };

// The records of wpk.h. koffi aligns fields as C compilers do, so order and types are sufficient.
const Callback = koffi.proto('void WPK_CALLBACK(void *notification)');

const InitStruct = koffi.struct('WPK_INITSTRUCT', {
    reserved: 'int64',
    hInstance: 'void *',
    nConnectionType: 'int64',
    lpfnCallback: koffi.pointer(Callback),
    lpUserData: 'void *',
    bBehindProxy: 'int64',
    lpszProxyServer: 'str',
    nProxyPort: 'int64',
    lpszProxyUser: 'str',
    lpszProxyPassword: 'str',
});

// Pointers: what the library reads after the call has returned must be separate memory, not texts that are converted
// only for the duration of the call.
const SendStruct = koffi.struct('WPK_SENDSTRUCT', {
    lpVirtualTable: 'void *',  // used only by C++
    reserved: 'uint32',
    nPort: 'uint32',
    lpszServer: 'void *',
    lpszServiceName: 'void *',
    lpfnCallback: koffi.pointer(Callback),
    lpUserData: 'void *',
    lpData: 'void *',
    dwDataLength: 'uint32',
});

// WPK_CALLBACKSTRUCT, once for each reason that is handled here.
const Head = koffi.struct({ nReason: 'uint32', lpUserData: 'void *' });
const Failure = koffi.struct({ head: Head, nError: 'int32' });
const Reply = koffi.struct({ head: Head, nError: 'int32', reserved: 'uint32', lpData: 'void *', dwDataLength: 'uint32' });
const Credentials = koffi.struct({
    head: Head,
    szUser: koffi.array('char', 256),
    szPassword: koffi.array('char', 256),
    bRetry: 'uint32',
});

/** Copies the bytes to memory that is not freed until the program ends, because the library may still read it. Null for
 *  no bytes. */
function keep(bytes) {
    if (bytes.length === 0) return null;
    const memory = koffi.alloc('uint8', bytes.length);
    koffi.encode(memory, koffi.array('uint8', bytes.length), bytes);
    return memory;
}

/** Texts in the library's records are in the ANSI code page and end with a zero. */
function keepText(text) {
    if (/[^\x01-\xFF]/.test(text)) {
        throw new Trouble(`'${text}' holds a character that a name cannot have; use those of Latin-1`, STATUS.wrongUsage);
    }
    return keep(Buffer.from(text + '\0', 'latin1'));
}

/** Longer texts would be cut: the record has room for 255 bytes and a zero. */
function checkLength(credential) {
    if (Buffer.byteLength(credential) <= 255) return;
    throw new Trouble('a user name or password of more than 255 bytes cannot be sent', STATUS.wrongUsage);
}

/** Sends one message; resolves with the reply as a Buffer, rejects with a Trouble. */
function send(library, { server, port, service, message, askCredentials }) {
    return new Promise((resolve, reject) => {
        // The library calls on its own thread, which waits until this has run on JavaScript's thread. So the record is
        // valid all the time, and this must not wait for anything.
        const handle = (notification) => {
            const { nReason } = koffi.decode(notification, Head);
            if (nReason === REASON.reply) {
                const { lpData, dwDataLength } = koffi.decode(notification, Reply);
                resolve(Buffer.from(dwDataLength === 0 ? [] : koffi.decode(lpData, 'uint8', dwDataLength)));
            } else if (nReason === REASON.failure) {
                const { nError } = koffi.decode(notification, Failure);
                reject(thrown || requestTrouble(nError));
            } else if (nReason === REASON.credentials) {
                const asked = koffi.decode(notification, Credentials);
                const answer = askCredentials(asked.szUser);
                if (!answer) return;  // bRetry stays 0: the request ends.
                checkLength(answer.user);
                checkLength(answer.password);
                koffi.encode(notification, Credentials,
                             { ...asked, szUser: answer.user, szPassword: answer.password, bRetry: 1 });
            }
        };
        // An exception that escaped would be lost, and the outcome with it.
        let thrown = null;
        const onNotification = (notification) => {
            try {
                handle(notification);
            } catch (error) {
                // After a request for credentials, the request still ends with its final notification; after that there
                // is none.
                thrown = error;
                if (koffi.decode(notification, Head).nReason !== REASON.credentials) reject(error);
            }
        };
        const record = koffi.alloc(SendStruct, 1);
        koffi.encode(record, SendStruct, {
            lpVirtualTable: null,
            reserved: 0,
            nPort: port,
            lpszServer: keepText(server),
            lpszServiceName: keepText(service),
            lpfnCallback: koffi.register(onNotification, koffi.pointer(Callback)),
            lpUserData: null,
            lpData: keep(message),
            dwDataLength: message.length,
        });
        if (library.send(record) === 0) {
            reject(new Trouble('the library could not take the message: the system is short of threads or memory; ' +
                               'close some programs, then try again', STATUS.notSent));
        }
    });
}

function initialise(library, proxy) {
    const [host, port] = (proxy || '').split(':');
    const settings = {
        reserved: 0,
        hInstance: null,
        nConnectionType: CONNECTION_PERMANENT,
        lpfnCallback: koffi.register(() => {}, koffi.pointer(Callback)),
        lpUserData: null,
        bBehindProxy: proxy ? 1 : 0,
        lpszProxyServer: host,
        nProxyPort: portOf(port || '80'),
        lpszProxyUser: null,
        lpszProxyPassword: null,
    };
    if (library.init(settings) !== 0) return;
    throw new Trouble('the library could not be initialised: the system is short of threads or memory; close some ' +
                      'programs, then try again', STATUS.notInitialised);
}

/** Answers the proxy once: credentials that it has refused would be refused again. */
function askCredentialsOnce(given) {
    const [user, password = ''] = (given || '').split(':');
    return (refusedUser) => (given && refusedUser === '' ? { user, password } : null);
}

function loadLibrary() {
    try {
        const wpk = koffi.load(LIBRARY);
        return {
            init: wpk.func('WPK_Init', 'int', [koffi.pointer(InitStruct)]),
            send: wpk.func('WPK_Send', 'uint32', ['void *']),
        };
    } catch (error) {
        throw new Trouble(`${LIBRARY} cannot be loaded (${firstLine(error)}); put wpk.dll beside this program`,
                          STATUS.notInitialised);
    }
}

/** The port number in the text; throws a Trouble if there is none. */
function portOf(text) {
    const port = /^[0-9]+$/.test(text) ? Number(text) : 0;
    if (port >= 1 && port <= 65535) return port;
    throw new Trouble(`'${text}' is no number from 1 to 65535\n${USAGE}`, STATUS.wrongUsage);
}

async function run([server, port, service, message, proxy, credentials]) {
    if (message === undefined) throw new Trouble(`too few arguments\n${USAGE}`, STATUS.wrongUsage);
    const request = {
        server,
        port: portOf(port),
        service,
        message: Buffer.from(message),
        askCredentials: askCredentialsOnce(credentials),
    };
    const library = loadLibrary();
    initialise(library, proxy);
    const reply = await send(library, request);
    fs.writeFileSync(STANDARD_OUTPUT, reply);
    return STATUS.replied;
}

async function main(args) {
    // An outstanding callback does not keep Node running; a timer does.
    const stay = setInterval(() => {}, 1000);
    try {
        return await run(args);
    } catch (error) {
        say(error.message);
        return error instanceof Trouble ? error.status : STATUS.otherTrouble;
    } finally {
        clearInterval(stay);
    }
}

main(process.argv.slice(2)).then((status) => {
    process.exitCode = status;
});
