// The functions and records of wpk.h. The records' names are those of the members of WPK_CALLBACKSTRUCT where a
// notification has one for each reason.
// SPDX-License-Identifier: MIT
using System;
using System.Runtime.InteropServices;
using Microsoft.Win32.SafeHandles;

// wpk.dll is taken from the program's own folder, and never from the current one.
[assembly: DefaultDllImportSearchPaths(DllImportSearchPath.AssemblyDirectory | DllImportSearchPath.System32)]

namespace Wpk
{
    enum Reason : uint { Failure = 0, Progress = 1, Reply = 2, Connection = 3, Credentials = 4 }

    enum ConnectionType : long { Never = 0, DialUp = 1, Permanent = 2, Automatic = 3 }

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    delegate void Callback(IntPtr notification);

    [StructLayout(LayoutKind.Sequential)]
    struct WPK_INITSTRUCT
    {
        public long reserved;
        public IntPtr hInstance;
        public ConnectionType nConnectionType;
        public IntPtr lpfnCallback;
        public IntPtr lpUserData;
        public long bBehindProxy;
        public IntPtr lpszProxyServer;
        public long nProxyPort;
        public IntPtr lpszProxyUser;
        public IntPtr lpszProxyPassword;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct WPK_SENDSTRUCT
    {
        public IntPtr lpVirtualTable;  // used only by C++
        public uint reserved;
        public uint nPort;
        public IntPtr lpszServer;
        public IntPtr lpszServiceName;
        public IntPtr lpfnCallback;
        public IntPtr lpUserData;
        public IntPtr lpData;
        public uint dwDataLength;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct Head
    {
        public Reason nReason;
        public IntPtr lpUserData;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct Failure
    {
        public Head head;
        public int nError;
        public uint reserved;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct Progress
    {
        public Head head;
        public int nError;
        public uint reserved;
        public long nWord;
        public IntPtr lpData;
        public uint dwReceived;
        public uint dwTotal;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct Reply
    {
        public Head head;
        public int nError;
        public uint reserved;
        public IntPtr lpData;
        public uint dwDataLength;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct Connection
    {
        public Head head;
        public uint dwConnected;
    }

    [StructLayout(LayoutKind.Sequential)]
    struct Credentials
    {
        public Head head;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 256)]
        public byte[] szUser;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 256)]
        public byte[] szPassword;
        public uint bRetry;
    }

    static class Library
    {
        const string Name = "wpk.dll";

        [DllImport(Name, CallingConvention = CallingConvention.Cdecl)]
        public static extern int WPK_Init(ref WPK_INITSTRUCT settings);

        // By address: the record must not move after the call.
        [DllImport(Name, CallingConvention = CallingConvention.Cdecl)]
        public static extern uint WPK_Send(IntPtr message);

        [DllImport(Name, CallingConvention = CallingConvention.Cdecl)]
        public static extern int WPK_Cancel(uint handle);
    }

    // An open thread.
    sealed class ThreadHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        const uint Synchronize = 0x00100000;

        ThreadHandle() : base(ownsHandle: true) { }

        public static ThreadHandle Open(uint id) => OpenThread(Synchronize, inherit: false, id: id);

        protected override bool ReleaseHandle() => CloseHandle(handle);

        [DllImport("kernel32.dll")]
        static extern ThreadHandle OpenThread(uint access, bool inherit, uint id);

        [DllImport("kernel32.dll")]
        static extern bool CloseHandle(IntPtr handle);
    }
}
