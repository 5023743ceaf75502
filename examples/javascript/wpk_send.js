// wpk_send.js: sends a message to a named service and writes the reply. JavaScript, with the module koffi (npm).
// SPDX-License-Identifier: MIT
'use strict';
const fs = require('fs');
const koffi = require('koffi');

const USAGE = 'usage: node wpk_send.js SERVER PORT SERVICE MESSAGE [PROXY_HOST:PORT [USER:PASSWORD]]';
// By number: the streams of `process` are not for every kind of handle that a Windows program may be started with.
const STANDARD_OUTPUT = 1;
const STANDARD_ERROR = 2;
const CONNECTION_PERMANENT = 2;
const REASON = { failure: 0, progress: 1, reply: 2, connection: 3, credentials: 4 };

// The records of wpk.h. koffi aligns fields as C compilers do, so order and types are all there is to say.
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

// What the library reads after the call has returned, it has to be given as memory of its own, not as texts that are
// converted for the time of the call: hence pointers.
const SendStruct = koffi.struct('WPK_SENDSTRUCT', {
    lpVirtualTable: 'void *',  // only C++ has use for it
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

/** Copies the bytes to memory that stays until the program ends; the library may read it up to the last moment. Null for
 *  no bytes. */
function keep(bytes) {
    if (bytes.length === 0) return null;
    const memory = koffi.alloc('uint8', bytes.length);
    koffi.encode(memory, koffi.array('uint8', bytes.length), bytes);
    return memory;
}

/** Texts in the library's records are in the ANSI code page and end with a zero. */
function keepText(text) {
    return keep(Buffer.from(text + '\0', 'latin1'));
}

/** Sends one message; resolves with the reply as a Buffer, rejects with an Error whose `code` is the WPK_ERROR. */
function send(library, { server, port, service, message, askCredentials }) {
    return new Promise((resolve, reject) => {
        // The library calls on a thread of its own, and waits there until this has run on JavaScript's thread. So the
        // record is there all the time; an exception must not leave, and this must not wait for anything.
        const onNotification = (notification) => {
            const { nReason } = koffi.decode(notification, Head);
            if (nReason === REASON.reply) {
                const { lpData, dwDataLength } = koffi.decode(notification, Reply);
                resolve(Buffer.from(dwDataLength === 0 ? [] : koffi.decode(lpData, 'uint8', dwDataLength)));
            } else if (nReason === REASON.failure) {
                const { nError } = koffi.decode(notification, Failure);
                reject(Object.assign(new Error(`failed with error ${nError}`), { code: nError }));
            } else if (nReason === REASON.credentials) {
                const asked = koffi.decode(notification, Credentials);
                const answer = askCredentials(asked.szUser);
                if (!answer) return;  // bRetry stays 0: the request ends.
                koffi.encode(notification, Credentials,
                             { ...asked, szUser: answer.user, szPassword: answer.password, bRetry: 1 });
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
        if (library.send(record) === 0) reject(new Error('the library could not take the message'));
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
        nProxyPort: Number(port || 80),
        lpszProxyUser: null,
        lpszProxyPassword: null,
    };
    if (library.init(settings) === 0) throw new Error('the library could not be initialised');
}

/** Answers the proxy's question once: credentials that it has refused are no better the second time. */
function askCredentialsOnce(given) {
    const [user, password] = (given || '').split(':');
    return (refusedUser) => (given && refusedUser === '' ? { user, password } : null);
}

function say(text) {
    fs.writeSync(STANDARD_ERROR, text + '\n');
}

async function main([server, port, service, message, proxy, credentials]) {
    if (message === undefined) {
        say(USAGE);
        return 2;
    }
    const wpk = koffi.load('wpk.dll');
    const library = {
        init: wpk.func('WPK_Init', 'int', [koffi.pointer(InitStruct)]),
        send: wpk.func('WPK_Send', 'uint32', ['void *']),
    };
    initialise(library, proxy);
    // A callback that may come is no reason for Node to stay; a timer is.
    const stay = setInterval(() => {}, 1000);
    try {
        const reply = await send(library, {
            server,
            port: Number(port),
            service,
            message: Buffer.from(message),
            askCredentials: askCredentialsOnce(credentials),
        });
        fs.writeFileSync(STANDARD_OUTPUT, reply);
        return 0;
    } catch (error) {
        say(`wpk_send.js: ${error.message}`);
        return error.code ? 10 - error.code : 1;
    } finally {
        clearInterval(stay);
    }
}

main(process.argv.slice(2)).then((status) => {
    process.exitCode = status;
});
