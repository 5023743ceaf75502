// wpk_send in C#: sends a message to a named service and writes the reply; Ctrl-C cancels.
// SPDX-License-Identifier: MIT
using System;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

namespace Wpk
{
    static class Program
    {
        static int Main(string[] arguments)
        {
            int port;
            if (arguments.Length != 4 || !int.TryParse(arguments[1], out port) || port < 1 || port > 65535)
            {
                Console.Error.WriteLine("usage: wpk_send_cs SERVER PORT SERVICE MESSAGE; PORT is a number from 1 to 65535");
                return 2;
            }
            using (var cancellation = new CancellationTokenSource())
            {
                Console.CancelKeyPress += (sender, key) =>
                {
                    key.Cancel = true;
                    cancellation.Cancel();
                };
                return Run(arguments[0], port, arguments[2], arguments[3], cancellation.Token).GetAwaiter().GetResult();
            }
        }

        /// <summary>The exit statuses are those of the other examples.</summary>
        static async Task<int> Run(string server, int port, string service, string message, CancellationToken cancellation)
        {
            try
            {
                Client.Initialise();
            }
            catch (Exception problem) when (problem is DllNotFoundException || problem is WpkException)
            {
                return Report(problem.Message, 3);
            }
            try
            {
                var reply = await Client.SendAsync(server, port, service, Encoding.UTF8.GetBytes(message), cancellation);
                using (var output = Console.OpenStandardOutput()) output.Write(reply, 0, reply.Length);
                return 0;
            }
            catch (OperationCanceledException)
            {
                return Report(new WpkException(-4).Message, 14);
            }
            catch (WpkException problem)
            {
                return Report($"error {problem.Code}: {problem.Message}", problem.Code == 0 ? 4 : 10 - problem.Code);
            }
        }

        static int Report(string text, int status)
        {
            Console.Error.WriteLine("wpk_send_cs: " + text);
            return status;
        }
    }
}
