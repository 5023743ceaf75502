// Messages as tasks. The objects that the library calls back are kept from the garbage collector until the last call.
// SPDX-License-Identifier: MIT
using System;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;

namespace Wpk
{
    /// <summary>A request that failed; Code is a WPK_ERROR, or 0 if no request was started.</summary>
    public sealed class WpkException : Exception
    {
        static readonly string[] Texts = {
            "The library could not take the request: the system is short of threads or memory.",
            "The request is unusable: the server or the proxy is not named.",
            "There is no network connection.",
            "The server (or the proxy) could not be reached.",
            "The request was cancelled.",
            "The server speaks another version of the protocol, or is no server of this kind.",
            "The server has no service of that name.",
            "The exchange with the server broke, or the server refused the message.",
            "The proxy wants a user name and a password, and got none that it accepts."
        };

        public int Code { get; }

        public WpkException(int code)
            : base(code <= 0 && -code < Texts.Length ? Texts[-code] : "The request failed for an unknown reason.")
        {
            Code = code;
        }
    }

    /// <summary>The library; any thread may use it.</summary>
    public static class Client
    {
        static readonly Callback IgnoreStates = notification => { };

        /// <summary>Initialises the library, once in a process.</summary>
        public static void Initialise()
        {
            var settings = new WPK_INITSTRUCT
            {
                nConnectionType = ConnectionType.Permanent,
                lpfnCallback = Marshal.GetFunctionPointerForDelegate(IgnoreStates)
            };
            if (Library.WPK_Init(ref settings) == 0) throw new WpkException(0);
        }

        /// <summary>Sends a message; the task ends with the reply, with a WpkException, or as cancelled.</summary>
        public static async Task<byte[]> SendAsync(string server, int port, string service, byte[] message,
                                                   CancellationToken cancellation = default(CancellationToken))
        {
            cancellation.ThrowIfCancellationRequested();
            var request = new Request(server, port, service, message, cancellation);
            request.Start();
            using (cancellation.Register(request.Cancel))
                return await request.Outcome.ConfigureAwait(false);
        }
    }

    /// <summary>One request, from its start to its final notification.</summary>
    sealed class Request
    {
        // The library holds the address of this delegate's code. A static field keeps the delegate until the process
        // ends; a temporary one would be collected while the library still calls it.
        static readonly Callback Notify = OnNotification;
        static readonly IntPtr NotifyAddress = Marshal.GetFunctionPointerForDelegate(Notify);

        // Continuations would otherwise block the library's thread, and therefore the request.
        readonly TaskCompletionSource<byte[]> outcome =
            new TaskCompletionSource<byte[]>(TaskCreationOptions.RunContinuationsAsynchronously);
        readonly CancellationToken cancellation;
        readonly object gate = new object();
        // Memory that the collector does not move: the library reads it until the final notification.
        readonly IntPtr record, server, service, data;
        // Keeps this object alive as long as the library has its handle.
        GCHandle self;
        uint handle;
        bool ended;

        public Task<byte[]> Outcome => outcome.Task;

        public Request(string server, int port, string service, byte[] message, CancellationToken cancellation)
        {
            this.cancellation = cancellation;
            this.server = Marshal.StringToHGlobalAnsi(server);
            this.service = Marshal.StringToHGlobalAnsi(service);
            data = Marshal.AllocHGlobal(message.Length);
            Marshal.Copy(message, 0, data, message.Length);
            record = Marshal.AllocHGlobal(Marshal.SizeOf(typeof(WPK_SENDSTRUCT)));
            self = GCHandle.Alloc(this);
            Marshal.StructureToPtr(new WPK_SENDSTRUCT
            {
                nPort = checked((uint)port),
                lpszServer = this.server,
                lpszServiceName = this.service,
                lpfnCallback = NotifyAddress,
                lpUserData = GCHandle.ToIntPtr(self),
                lpData = data,
                dwDataLength = (uint)message.Length
            }, record, fDeleteOld: false);
        }

        public void Start()
        {
            // The final notification may run before the call has returned; it does not need the handle.
            handle = Library.WPK_Send(record);
            if (handle != 0) return;
            Free();
            throw new WpkException(0);
        }

        /// <summary>The request's handle is the id of its thread. The library looks it up after the call, and the system
        /// may reuse it once the thread has ended. So the lock keeps the thread from ending before the call, and an open
        /// thread handle keeps the id from being reused until some seconds after it.</summary>
        public void Cancel()
        {
            lock (gate)
            {
                if (ended) return;
                var thread = ThreadHandle.Open(handle);
                Library.WPK_Cancel(handle);
                Task.Delay(TimeSpan.FromSeconds(10)).ContinueWith(_ => thread.Dispose());
            }
        }

        static void OnNotification(IntPtr notification)
        {
            // No exception may escape a callback.
            try
            {
                var head = (Head)Marshal.PtrToStructure(notification, typeof(Head));
                if (head.nReason != Reason.Reply && head.nReason != Reason.Failure) return;
                var request = (Request)GCHandle.FromIntPtr(head.lpUserData).Target;
                lock (request.gate) request.ended = true;
                request.Free();
                request.End(head.nReason, notification);
            }
            catch (Exception problem)
            {
                Console.Error.WriteLine(problem);
            }
        }

        void End(Reason reason, IntPtr notification)
        {
            try
            {
                if (reason == Reason.Reply)
                {
                    outcome.SetResult(BytesOf((Reply)Marshal.PtrToStructure(notification, typeof(Reply))));
                    return;
                }
                var failure = (Failure)Marshal.PtrToStructure(notification, typeof(Failure));
                if (failure.nError == -4 && cancellation.IsCancellationRequested) outcome.SetCanceled();
                else outcome.SetException(new WpkException(failure.nError));
            }
            catch (OutOfMemoryException problem)
            {
                outcome.SetException(problem);
            }
        }

        // They are valid only during the call.
        static byte[] BytesOf(Reply reply)
        {
            var bytes = new byte[checked((int)reply.dwDataLength)];
            if (bytes.Length > 0) Marshal.Copy(reply.lpData, bytes, 0, bytes.Length);
            return bytes;
        }

        // Once the final notification has begun, the library no longer reads them.
        void Free()
        {
            self.Free();
            foreach (var memory in new[] { record, data, service, server }) Marshal.FreeHGlobal(memory);
        }
    }
}
